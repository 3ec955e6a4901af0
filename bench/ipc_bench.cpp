// How fast the lock between processes is entered and left, and blocks go through a pipe.
#include <benchmark/benchmark.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <vector>

#include "bench/bench_machine.h"
#include "runtime/ipc/pipe_blocks.h"
#include "runtime/ipc/shared_access_lock.h"

namespace kv::bench {
namespace {

constexpr WCHAR kPipe[] = TEXT("\\\\.\\pipe\\KV8_Bench");

struct BenchLock : CSharedAccessLock {
  BenchLock() : CSharedAccessLock(TEXT("BenchLock"), TEXT("BenchCount"), TEXT("BenchCountMutex")) {}
};

// A child process on the same machine, ended with the object.
class Child {
 public:
  template <class Body>
  explicit Child(Body body) : id_(Start(body)) {}
  ~Child() {
    kill(id_, SIGKILL);
    waitpid(id_, nullptr, 0);
  }
  Child(const Child&) = delete;
  Child& operator=(const Child&) = delete;

 private:
  template <class Body>
  static pid_t Start(Body body) {
    const std::filesystem::path machine = platform::MachineDirectory();
    const pid_t id = fork();
    if (id != 0) return id;
    platform::UseMachine(machine);
    body();
    _exit(0);
  }
  pid_t id_;
};

void EnterAndLeave(benchmark::State& state) {
  BenchLock lock;
  for (auto _ : state) {
    lock.Enter(static_cast<BOOL>(state.range(0)), INFINITE);
    lock.Leave(FALSE);
  }
}
// Shared, exclusive.
BENCHMARK(EnterAndLeave)->Arg(FALSE)->Arg(TRUE);

// Three more processes do the same.
void EnterAndLeaveContended(benchmark::State& state) {
  const BOOL exclusive = static_cast<BOOL>(state.range(0));
  const auto enter_for_ever = [=] {
    for (BenchLock lock;;) {
      if (lock.Enter(exclusive, INFINITE)) lock.Leave(FALSE);
    }
  };
  const Child others[] = {Child(enter_for_ever), Child(enter_for_ever), Child(enter_for_ever)};
  BenchLock lock;
  for (auto _ : state) {
    lock.Enter(exclusive, INFINITE);
    lock.Leave(FALSE);
  }
}
BENCHMARK(EnterAndLeaveContended)->Arg(FALSE)->Arg(TRUE)->UseRealTime();

// To another process, which acknowledges each block.
void SendBlocks(benchmark::State& state) {
  const auto size = static_cast<DWORD>(state.range(0));
  const Child server([] {
    const HANDLE pipe = CreateNamedPipeW(
        kPipe, PIPE_ACCESS_DUPLEX, PIPE_TYPE_MESSAGE | PIPE_READMODE_MESSAGE, 1, 0, 0, 0, nullptr);
    ConnectNamedPipe(pipe, nullptr);
    while (const auto header = ReadFromPipe(pipe, sizeof(DWORD))) {
      DWORD done = 0;
      ReadFromPipe(pipe, *reinterpret_cast<const DWORD*>(header.get()));
      WriteFile(pipe, "", 1, &done, nullptr);
    }
  });
  while (!PipeExists(kPipe, 100)) Sleep(1);
  const HANDLE pipe = OpenPipe(kPipe, 10'000);
  const std::vector<BYTE> block(size, 'x');
  for (auto _ : state) {
    WriteSizedBlock(pipe, block.data(), size, 64 * 1024);
    ReadFromPipe(pipe, 1);
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * size);
  CloseHandle(pipe);
}
BENCHMARK(SendBlocks)->Arg(16)->Arg(64 << 10)->Arg(16 << 20)->UseRealTime();

}  // namespace
}  // namespace kv::bench

int main(int count, char** values) {
  benchmark::Initialize(&count, values);
  const kv::bench::BenchMachine machine;
  benchmark::RunSpecifiedBenchmarks();
  return 0;
}
