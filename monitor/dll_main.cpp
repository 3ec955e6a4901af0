#include "runtime/core/startup_context.h"

extern "C" BOOL WINAPI DllMain(HINSTANCE instance, DWORD reason, LPVOID) {
  switch (reason) {
    case DLL_PROCESS_ATTACH:
      return kv::ProcessAttach(instance);
    case DLL_PROCESS_DETACH:
      kv::ProcessDetach();
      return TRUE;
    default:
      return TRUE;
  }
}
