#include "lumipmi/compat.h"

#include <dlfcn.h>
#include <link.h>

#include <gtest/gtest.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <string>

#include "support/fake_libc.hpp"
#include "support/temp_dir.hpp"

namespace {

using lumi::test::FakeLibc;
using lumi::test::TempDir;

TEST(sleep, asks_for_one_nanosleep) {
  const struct {
    uint32_t milliseconds;
    time_t seconds;
    long nanoseconds;
  } cases[] = {{0, 0, 0},
               {1, 0, 1'000'000},
               {999, 0, 999'000'000},
               {1500, 1, 500'000'000},
               {UINT32_MAX, 4'294'967, 295'000'000}};
  for (const bool interrupted : {false, true}) {  // the remainder of an interrupted pause is dropped
    for (const auto& c : cases) {
      SCOPED_TRACE(c.milliseconds);
      FakeLibc libc;
      libc.interrupt_sleeps = interrupted;
      Sleep(c.milliseconds);
      ASSERT_EQ(libc.sleeps.size(), 1u);
      EXPECT_EQ(libc.sleeps[0].tv_sec, c.seconds);
      EXPECT_EQ(libc.sleeps[0].tv_nsec, c.nanoseconds);
    }
  }
}

TEST(critical_section, is_a_default_mutex) {
  CRITICAL_SECTION section;
  std::memset(&section, 0xFF, sizeof section);
  InitializeCriticalSection(&section);
  EnterCriticalSection(&section);
  EXPECT_EQ(pthread_mutex_trylock(&section), EBUSY) << "not recursive";
  LeaveCriticalSection(&section);
  EXPECT_EQ(pthread_mutex_trylock(&section), 0);
  LeaveCriticalSection(&section);
  DeleteCriticalSection(&section);
}

TEST(strlwr, lowers_in_place) {
  char text[] = "Az[@Z\xC4 09_IPMI\0X";
  EXPECT_EQ(_strlwr(text), text);
  EXPECT_STREQ(text, "az[@z\xC4 09_ipmi");
  EXPECT_EQ(text[sizeof text - 2], 'X') << "stops at the terminator";
  EXPECT_EQ(_strlwr(nullptr), nullptr);
}

TEST(load_library, builds_the_file_name) {
  const auto repeated = [](size_t count, const char* rest) { return std::string(count, 'd') + rest; };
  const struct {
    std::string name;
    std::string file;
  } cases[] = {
      {"lumifoo", "liblumifoo.so"},
      {"/opt/lumix/foo", "/opt/lumix/libfoo.so"},
      {"a/b/lumifoo", "a/b/liblumifoo.so"},
      {"liblumifoo.so", "liblumifoo.so"},
      {"/opt/lumix/libfoo.so", "/opt/lumix/libfoo.so"},
      {"lumifoo.so", "lumifoo.so"},
      {"lumifoo.so.1", "liblumifoo.so.1.so"},
      {"lumi.so/foo", "lumi.so/libfoo.so"},
      {"lumifoo.SO", "liblumifoo.SO.so"},
      {"/opt/lumix/", "/opt/lumix/lib.so"},
      // Shorter than ".so", or just as long.
      {"", "lib.so"},
      {"s", "libs.so"},
      {"so", "libso.so"},
      {".so", ".so"},
      // Cut at 255 characters.
      {repeated(249, ""), "lib" + repeated(249, ".so")},
      {repeated(250, ""), "lib" + repeated(250, ".s")},
      {repeated(300, ""), "lib" + repeated(252, "")},
      {repeated(252, ".so"), repeated(252, ".so")},
      {repeated(253, ".so"), repeated(253, ".s")},
      {repeated(300, ".so"), repeated(255, "")},
      {repeated(249, "/foo"), repeated(249, "/libfo")},
      {repeated(254, "/foo"), repeated(254, "/")},
      {repeated(255, "/foo"), repeated(255, "")},
      {repeated(300, "/foo"), repeated(255, "")},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    FakeLibc libc;
    testing::internal::CaptureStdout();
    EXPECT_EQ(LoadLibrary(c.name.c_str()), nullptr);
    const std::string printed = testing::internal::GetCapturedStdout();
    ASSERT_EQ(libc.dlopens.size(), 1u);
    EXPECT_EQ(libc.dlopens[0].file, c.file);
    EXPECT_EQ(libc.dlopens[0].flags, RTLD_NOW | RTLD_GLOBAL);
    EXPECT_NE(printed.find(c.file), std::string::npos) << "the loader's message";
    EXPECT_EQ(printed.find('\n'), printed.size() - 1) << "one line: " << printed;
  }
}

TEST(load_library, looks_at_nothing_before_a_short_name) {
  const char text[] = ".so";
  for (const char* name : {text + 1, text + 2, text + 3}) {  // ".so" ends where these end
    FakeLibc libc;
    testing::internal::CaptureStdout();
    EXPECT_EQ(LoadLibrary(name), nullptr);
    testing::internal::GetCapturedStdout();
    ASSERT_EQ(libc.dlopens.size(), 1u);
    EXPECT_EQ(libc.dlopens[0].file, std::string("lib") + name + ".so");
  }
}

// A system library that the test program is not linked with.
constexpr char kOtherLibrary[] = "libresolv.so.2";

bool is_loaded(const char* file) {
  void* module = dlopen(file, RTLD_NOW | RTLD_NOLOAD);
  return module != nullptr && dlclose(module) == 0;
}

TEST(load_library, loads_finds_and_unloads) {
  void* found = dlopen(kOtherLibrary, RTLD_NOW);
  ASSERT_NE(found, nullptr) << dlerror();
  link_map* map = nullptr;
  ASSERT_EQ(dlinfo(found, RTLD_DI_LINKMAP, &map), 0);
  TempDir dir;
  std::filesystem::copy_file(map->l_name, dir.file("libother.so"));
  dlclose(found);
  ASSERT_FALSE(is_loaded(kOtherLibrary));

  const HMODULE module = LoadLibrary(dir.file("other").c_str());
  ASSERT_NE(module, nullptr);
  EXPECT_TRUE(is_loaded(kOtherLibrary));
  const void* symbol = GetProcAddress(module, "__b64_ntop");
  EXPECT_NE(symbol, nullptr);
  EXPECT_EQ(symbol, dlsym(module, "__b64_ntop"));
  EXPECT_EQ(GetProcAddress(module, "lumi_no_such_symbol"), nullptr);
  EXPECT_EQ(FreeLibrary(module), 1);
  EXPECT_FALSE(is_loaded(kOtherLibrary));
}

TEST(load_library, takes_null) {
  FakeLibc libc;
  EXPECT_EQ(LoadLibrary(nullptr), nullptr);
  EXPECT_TRUE(libc.dlopens.empty());
  EXPECT_EQ(FreeLibrary(nullptr), 0);
}

}  // namespace
