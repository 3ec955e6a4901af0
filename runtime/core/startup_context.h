// The process-wide record that every module of the product fills when it is loaded.
//
// From then on threads only read it, but for what follows: the two libraries at its end, which any
// thread may bind at any time; `messageSink`, which a program sets before it starts threads; and
// `platform`, which is read anew where it was never filled (without ProcessAttach).
#pragma once

#include <atomic>

#include "runtime/core/instance_name.h"
#include "runtime/core/loaded_library.h"
#include "runtime/core/messages.h"
#include "runtime/core/platform_info.h"
#include "runtime/core/product.h"
#include "runtime/core/win.h"

namespace kv {

constexpr int kNameCapacity = 128;

// Messages that the product's processes send each other; their numbers are the system's.
struct RegisteredMessages {
  UINT addSpoolFile;
  UINT annotDeleted;
  UINT ctlColorEditThis;
  UINT editNotifyThis;
  UINT endEdit;
  UINT getNoteInvalidateExtra;
  UINT idiotProof;
  UINT killRedraw;
  UINT noteCommand;
  UINT postChangeKvFile;
  UINT preChangeKvFile;
  UINT saveNote;
  UINT selectNote;
  UINT waitRedraw;
};

struct RegisteredClipboardFormats {
  WORD kvFile;
  WORD kvNote;
  WORD metadata;
};

// All zero until ProcessAttach, but for the names that are made before. Text fields hold their
// capacity less one characters. What steps of ProcessAttach cannot find out stays 0 or empty.
struct StartupContext {
  InstanceName instanceName;
  LPCWSTR resourceDllName =
      kResourceDllName;  // null after the resource library could not be loaded
  HINSTANCE hInstance = nullptr;
  RegisteredMessages messages = {};
  RegisteredClipboardFormats clipboardFormats = {};
  int dbcsEnabled = 0;
  BOOL guiFontDbcs = FALSE;
  UINT guiFontCodePage = 0;
  int midEastEnabled = 0;
  PlatformFacts platform = {};
  WCHAR productName[kNameCapacity] = {};
  WCHAR productNameVersion[kNameCapacity] = {};
  WCHAR displayName[kNameCapacity] = {};
  WCHAR portName[kNameCapacity] = {};
  WCHAR companyName[kNameCapacity] = {};
  WCHAR legalNotice[kNameCapacity] = {};
  LPCWSTR printEnvironment = nullptr;
  LPCWSTR graphicsDriverFile = nullptr;
  LPCWSTR interfaceFile = nullptr;
  LPCWSTR displayFile = nullptr;
  LPCWSTR moduleFile = nullptr;
  LPCWSTR monitorFile = nullptr;
  LPCWSTR userInterfaceFile = nullptr;
  LPCWSTR dispatcherFile = nullptr;
  WCHAR systemLanguageName[80] = {};
  LANGID systemLangId = 0;
  WORD systemAnsiCodePage = 0;
  DWORD defaultUnits = 0;  // 1 inches, 2 millimetres
  HMODULE hResources = nullptr;
  LANGID resourceLangId = 0;
  DWORD productKindCode = 0;
  WCHAR dispatcherTitle[40] = {};
  WCHAR webSite[192] = {};
  WCHAR webHost[192] = {};
  WCHAR helpUrl[MAX_PATH] = {};
  WCHAR resourceText12003[32] = {};
  int resourceNumber12004 = 0;
  DWORD defaultPaperSize = 0;  // a DMPAPER number
  WCHAR resourceText10084[80] = {};
  DWORD compatibilityFlags = 0;
  DWORD silent = 0;  // non-zero: no message boxes
  WCHAR appDir[MAX_PATH] = {};

  MessageSink messageSink = nullptr;

  // Bound on first use, with LoadOnce, by the graphics and the network functions.
  LoadedLibrary msimg32;
  LoadedLibrary netapi32;
  std::atomic<bool> netapi32IsMissing = false;  // it was tried once, as often as it ever is
};

extern StartupContext startupContext;

// Fills the record for the module `instance`; called once, on the loader's thread. FALSE only when
// there is no usable language resource library, after its message box; what was filled until then
// stays.
BOOL ProcessAttach(HINSTANCE instance);
// Frees the language resource library when it was loaded from a file of its own.
void ProcessDetach();

}  // namespace kv
