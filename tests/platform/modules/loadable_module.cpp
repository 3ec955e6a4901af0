// A module that tells what happens to it: a line for each event in the file that KV_MODULE_LOG
// names. With KV_MODULE_REFUSES set it refuses to be attached.
#include <windows.h>

#include <cstdio>
#include <cstdlib>

namespace {

void Log(const char* event) {
  const char* path = std::getenv("KV_MODULE_LOG");
  std::FILE* file = path != nullptr ? std::fopen(path, "a") : nullptr;
  if (file == nullptr) return;
  std::fprintf(file, "%s\n", event);
  std::fclose(file);
}

struct Static {
  Static() { Log("constructed"); }
  ~Static() { Log("destroyed"); }
} in_module;

int count = 0;

}  // namespace

extern "C" {

BOOL WINAPI DllMain(HINSTANCE module, DWORD reason, LPVOID) {
  WCHAR path[MAX_PATH];
  const bool knows_itself = GetModuleFileNameW(module, path, MAX_PATH) != 0;
  if (reason == DLL_PROCESS_ATTACH) Log(knows_itself ? "attached" : "attached without a name");
  if (reason == DLL_PROCESS_DETACH) Log(knows_itself ? "detached" : "detached without a name");
  return std::getenv("KV_MODULE_REFUSES") == nullptr;
}

int WINAPI Answer() {
  return 42;
}

// Counts its own calls, each copy of the module for itself.
int WINAPI Count() {
  return ++count;
}
}
