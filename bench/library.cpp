// Times of the operations, with Google Benchmark: every row by every library, requests also by the bare driver, and
// threads with handles of their own.
#include <benchmark/benchmark.h>

#include <string>

#include "bmc.hpp"
#include "lumipmi/lumipmi.h"
#include "operations.hpp"

namespace {

void run_operation(benchmark::State& state, bench::Operation operation) {
  for (auto _ : state) {
    if (operation.prepare != nullptr) {
      state.PauseTiming();
      operation.prepare();
      state.ResumeTiming();
    }
    operation.run();
  }
  if (operation.records != 0) state.SetItemsProcessed(state.iterations() * operation.records);
}

void run_bare(benchmark::State& state, bench::Operation operation) {
  bench::requests_of(operation);
  for (auto _ : state) bench::replay();
}

void run_thread(benchmark::State& state) {
  const IpmiConnectParams params = {1, -1, -1, 0};
  IpmiHandle* handle;
  bench::expect(ipmi_connect(&params, &handle) == 0, "ipmi_connect");
  for (auto _ : state) {
    IpmiDeviceId id;
    bench::expect(ipmi_app_get_device_id(handle, &id) == 0, "ipmi_app_get_device_id");
  }
  ipmi_disconnect(handle);
  state.SetItemsProcessed(state.iterations());
}

}  // namespace

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 2;
  for (const bench::Operation& operation : bench::operations()) {
    const std::string row = operation.row;
    benchmark::RegisterBenchmark((operation.library + ("/" + row)).c_str(), run_operation, operation);
    if (bench::requests_of(operation) != 0) benchmark::RegisterBenchmark(("bare/" + row).c_str(), run_bare, operation);
  }
  benchmark::RegisterBenchmark("threads", run_thread)->ThreadRange(1, 16)->UseRealTime();
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
}
