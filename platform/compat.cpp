// The exported Windows-style primitives.
#include "lumipmi/compat.h"

#include <dlfcn.h>

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <cstring>

#include "platform/clock.hpp"
#include "platform/text.hpp"

namespace lumi {
namespace {

constexpr size_t kFileNameSize = 256;

/// Builds the file name that a module name stands for, cut to 255 characters.
void make_file_name(const char* name, char (&file)[kFileNameSize]) {
  const size_t length = std::strlen(name);
  if (length >= 3 && std::strcmp(name + length - 3, ".so") == 0) {
    copy_text(file, sizeof file, name);
    return;
  }
  const char* slash = std::strrchr(name, '/');
  const char* base = slash != nullptr ? slash + 1 : name;
  const auto directory = static_cast<size_t>(base - name);
  copy_text(file, std::min(sizeof file, directory + 1), name);
  append_text(file, sizeof file, "lib");
  append_text(file, sizeof file, base);
  append_text(file, sizeof file, ".so");
}

}  // namespace
}  // namespace lumi

extern "C" void Sleep(uint32_t milliseconds) {
  lumi::sleep_ms(milliseconds);
}

extern "C" void InitializeCriticalSection(CRITICAL_SECTION* section) {
  pthread_mutex_init(section, nullptr);
}

extern "C" void DeleteCriticalSection(CRITICAL_SECTION* section) {
  pthread_mutex_destroy(section);
}

extern "C" void EnterCriticalSection(CRITICAL_SECTION* section) {
  pthread_mutex_lock(section);
}

extern "C" void LeaveCriticalSection(CRITICAL_SECTION* section) {
  pthread_mutex_unlock(section);
}

extern "C" char* _strlwr(char* text) {
  if (text == nullptr) return nullptr;
  for (char* p = text; *p != '\0'; ++p) *p = static_cast<char>(std::tolower(static_cast<unsigned char>(*p)));
  return text;
}

extern "C" HMODULE LoadLibrary(const char* name) {
  if (name == nullptr) return nullptr;
  char file[lumi::kFileNameSize];
  lumi::make_file_name(name, file);
  void* module = dlopen(file, RTLD_NOW | RTLD_GLOBAL);
  if (module == nullptr) {
    const char* error = dlerror();
    if (error != nullptr) std::puts(error);
  }
  return module;
}

extern "C" int32_t FreeLibrary(HMODULE module) {
  if (module == nullptr) return 0;
  return dlclose(module) == 0;
}

extern "C" void* GetProcAddress(HMODULE module, const char* symbol) {
  return dlsym(module, symbol);
}
