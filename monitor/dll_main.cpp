#include "runtime/core/startup_context.h"

extern "C" BOOL WINAPI DllMain(HINSTANCE instance, DWORD reason, LPVOID) {
  if (reason == DLL_PROCESS_ATTACH) return kv::ProcessAttach(instance);
  if (reason == DLL_PROCESS_DETACH) kv::ProcessDetach();
  return TRUE;
}
