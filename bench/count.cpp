// Runs each operation alone, for exact counts: of heap allocations here, of instructions by callgrind, which writes a
// profile per operation. bench/run puts them together.
//
//   lumipmi-count            prints a line of JSON per operation
//   lumipmi-count RUNS       the same with so many runs, and without the long walks: for an emulator that logs each
//                            instruction; those of an operation stand between two calls of bench_mark
//   valgrind --tool=callgrind --callgrind-out-file=DIR/profile lumipmi-count
#include <valgrind/callgrind.h>

#include <cstdio>
#include <cstdlib>
#include <string>

#include "bmc.hpp"
#include "operations.hpp"

extern "C" {
void* __libc_malloc(size_t size);
void* __libc_calloc(size_t count, size_t size);
void* __libc_realloc(void* block, size_t size);
}

/// Nothing but a place to recognise in a log.
extern "C" [[gnu::noinline]] void bench_mark() {
  asm volatile("");
}

namespace {

volatile unsigned long allocations;

void nothing() {}

unsigned fixed_runs;  // 0: as many as make sense

/// One run, of which only the operation itself counts.
void run_once(const bench::Operation& operation) {
  if (operation.prepare != nullptr) {
    const unsigned long before = allocations;
    CALLGRIND_TOGGLE_COLLECT;
    operation.prepare();
    CALLGRIND_TOGGLE_COLLECT;
    allocations = before;
  }
  operation.run();
}

void measure(const bench::Operation& operation, size_t requests) {
  const bool is_long = operation.records > 100;
  if (fixed_runs != 0 && is_long) return;
  const unsigned runs = fixed_runs != 0 ? fixed_runs : is_long ? 1 : 20;
  const std::string name = std::string(operation.library) + "/" + operation.row;
  run_once(operation);  // symbols are bound, caches and pools are filled
  const unsigned long before = allocations;
  CALLGRIND_ZERO_STATS;
  bench_mark();
  for (unsigned i = 0; i < runs; ++i) run_once(operation);
  bench_mark();
  CALLGRIND_DUMP_STATS_AT(name.c_str());
  const unsigned long made = allocations - before;
  std::printf(
      "{\"row\": \"%s\", \"library\": \"%s\", \"runs\": %u, \"records\": %u, \"requests\": %zu, \"allocations\": %g}\n",
      operation.row, operation.library, runs, operation.records, requests, static_cast<double>(made) / runs);
}

}  // namespace

// Every allocation of the program and its libraries comes through these.
extern "C" void* malloc(size_t size) {
  allocations = allocations + 1;
  return __libc_malloc(size);
}

extern "C" void* calloc(size_t count, size_t size) {
  allocations = allocations + 1;
  return __libc_calloc(count, size);
}

extern "C" void* realloc(void* block, size_t size) {
  allocations = allocations + 1;
  return __libc_realloc(block, size);
}

int main(int argc, char** argv) {
  if (argc > 1) fixed_runs = static_cast<unsigned>(std::atoi(argv[1]));
  measure({"nothing", "bare", nothing}, 0);
  for (const bench::Operation& operation : bench::operations()) {
    const size_t requests = bench::requests_of(operation);
    measure(operation, requests);
    if (requests != 0) measure({operation.row, "bare", bench::replay}, requests);
  }
}
