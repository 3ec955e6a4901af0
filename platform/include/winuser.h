// Windows, hooks, message boxes, cursors, metrics, registered names and the formatter of user32.
#pragma once

#include <wingdi.h>
#include <winnt.h>

#define MAKEINTRESOURCEW(id) ((LPWSTR)((ULONG_PTR)((WORD)(id))))
#define MAKEINTRESOURCE MAKEINTRESOURCEW
#define IS_INTRESOURCE(name) ((((ULONG_PTR)(name)) >> 16) == 0)
#define MAKEWPARAM(low, high) ((WPARAM)(DWORD)MAKELONG(low, high))
#define MAKEINTATOM(atom) ((LPWSTR)((ULONG_PTR)((WORD)(atom))))

#define SM_CXSCREEN 0
#define SM_CYSCREEN 1
#define SM_CXVSCROLL 2
#define SM_CYCAPTION 4
#define SM_CXICON 11
#define SM_CYICON 12
#define SM_DBCSENABLED 42
#define SM_CXEDGE 45
#define SM_CYEDGE 46
#define SM_CXSMICON 49
#define SM_CYSMICON 50
#define SM_MIDEASTENABLED 74
#define SM_TABLETPC 86
#define SM_MEDIACENTER 87
#define SM_STARTER 88
#define SM_SERVERR2 89
#define SM_REMOTESESSION 0x1000

#define WS_POPUP 0x80000000u
#define WS_CHILD 0x40000000
#define WS_MINIMIZE 0x20000000
#define WS_VISIBLE 0x10000000
#define WS_DISABLED 0x08000000
#define WS_CAPTION 0x00C00000
#define WS_SYSMENU 0x00080000
#define WS_TABSTOP 0x00010000
#define WS_EX_DLGMODALFRAME 0x00000001
#define COLOR_BTNFACE 15

#define SS_LEFT 0x0000
#define SS_CENTER 0x0001
#define SS_ICON 0x0003
#define SS_TYPEMASK 0x001F
#define STM_SETICON 0x0170
#define STM_GETICON 0x0171
#define STM_SETIMAGE 0x0172
#define STM_GETIMAGE 0x0173
#define BS_DEFPUSHBUTTON 0x0001
#define BS_OWNERDRAW 0x000B
#define BS_TYPEMASK 0x000F
#define BM_CLICK 0x00F5
#define CBS_DROPDOWNLIST 0x0003
#define CBS_SORT 0x0100
#define CB_ADDSTRING 0x0143
#define CB_GETCOUNT 0x0146
#define CB_GETLBTEXT 0x0148
#define CB_RESETCONTENT 0x014B
#define CB_GETITEMDATA 0x0150
#define CB_SETITEMDATA 0x0151
#define CB_OKAY 0
#define CB_ERR (-1)
#define BN_CLICKED 0
#define ODT_BUTTON 4
#define ODA_DRAWENTIRE 0x0001
#define ODS_DISABLED 0x0004
#define ODS_FOCUS 0x0010
#define IMAGE_ICON 1
#define LR_DEFAULTCOLOR 0x0000
#define ICON_SMALL 0
#define ICON_BIG 1
#define SPI_GETNONCLIENTMETRICS 41

#define WM_NULL 0x0000
#define WM_CREATE 0x0001
#define WM_DESTROY 0x0002
#define WM_ACTIVATE 0x0006
#define WM_SETFOCUS 0x0007
#define WM_KILLFOCUS 0x0008
#define WM_ENABLE 0x000A
#define WM_SETTEXT 0x000C
#define WM_GETTEXT 0x000D
#define WM_GETTEXTLENGTH 0x000E
#define WM_PAINT 0x000F
#define WM_CLOSE 0x0010
#define WM_QUIT 0x0012
#define WM_SHOWWINDOW 0x0018
#define WM_SETTINGCHANGE 0x001A
#define WM_DRAWITEM 0x002B
#define WM_SETFONT 0x0030
#define WM_GETFONT 0x0031
#define WM_GETICON 0x007F
#define WM_SETICON 0x0080
#define WM_NCCREATE 0x0081
#define WM_NCDESTROY 0x0082
#define WM_GETDLGCODE 0x0087
#define WM_KEYFIRST 0x0100
#define WM_KEYDOWN 0x0100
#define WM_KEYUP 0x0101
#define WM_CHAR 0x0102
#define WM_KEYLAST 0x0109
#define WM_INITDIALOG 0x0110
#define WM_COMMAND 0x0111
#define WM_TIMER 0x0113
#define WM_USER 0x0400
#define DM_GETDEFID (WM_USER + 0)
#define DC_HASDEFID 0x534B
#define DLGC_DEFPUSHBUTTON 0x0010
#define DLGC_UNDEFPUSHBUTTON 0x0020
#define DLGC_STATIC 0x0100
#define DLGC_BUTTON 0x2000
#define WM_APP 0x8000
#define WA_INACTIVE 0
#define WA_ACTIVE 1

#define VK_TAB 0x09
#define VK_RETURN 0x0D
#define VK_ESCAPE 0x1B
#define VK_SPACE 0x20

#define EWX_SHUTDOWN 0x00000001
#define EWX_REBOOT 0x00000002
#define PM_NOREMOVE 0x0000
#define PM_REMOVE 0x0001
#define QS_KEY 0x0001
#define QS_MOUSEMOVE 0x0002
#define QS_MOUSEBUTTON 0x0004
#define QS_POSTMESSAGE 0x0008
#define QS_TIMER 0x0010
#define QS_PAINT 0x0020
#define QS_SENDMESSAGE 0x0040
#define QS_HOTKEY 0x0080
#define QS_ALLPOSTMESSAGE 0x0100
#define QS_RAWINPUT 0x0400
#define QS_MOUSE (QS_MOUSEMOVE | QS_MOUSEBUTTON)
#define QS_INPUT (QS_MOUSE | QS_KEY | QS_RAWINPUT)
#define QS_ALLINPUT (QS_INPUT | QS_POSTMESSAGE | QS_TIMER | QS_PAINT | QS_HOTKEY | QS_SENDMESSAGE)

#define SW_HIDE 0
#define SW_SHOWNORMAL 1
#define SW_SHOWMINNOACTIVE 7
#define SW_SHOW 5
#define SW_MINIMIZE 6
#define SWP_NOSIZE 0x0001
#define SWP_NOMOVE 0x0002
#define SWP_NOZORDER 0x0004
#define SWP_NOACTIVATE 0x0010
#define HWND_TOP ((HWND)0)
#define HWND_BROADCAST ((HWND)0xFFFF)
#define SMTO_ABORTIFHUNG 0x0002
#define HWND_BOTTOM ((HWND)1)
#define HWND_DESKTOP ((HWND)0)
#define CF_TEXT 1
#define CF_UNICODETEXT 13

#define GWL_STYLE (-16)
#define GWL_EXSTYLE (-20)
#define GWLP_WNDPROC (-4)
#define GWLP_HINSTANCE (-6)
#define GWLP_HWNDPARENT (-8)
#define GWLP_ID (-12)
#define GWLP_USERDATA (-21)
#define DWLP_MSGRESULT 0
#define DWLP_DLGPROC (DWLP_MSGRESULT + sizeof(LRESULT))
#define DWLP_USER (DWLP_DLGPROC + sizeof(DLGPROC))
#ifdef __LP64__
#define DLGWINDOWEXTRA 48
#else
#define DLGWINDOWEXTRA 30
#endif

#define WH_CBT 5
#define HCBT_CREATEWND 3
#define HCBT_DESTROYWND 4
#define HCBT_ACTIVATE 5
#define HCBT_SETFOCUS 9

#define IDOK 1
#define IDCANCEL 2
#define IDABORT 3
#define IDRETRY 4
#define IDIGNORE 5
#define IDYES 6
#define IDNO 7
#define IDTIMEOUT 32000
#define IDASYNC 32001

#define MB_OK 0x00000000
#define MB_OKCANCEL 0x00000001
#define MB_ABORTRETRYIGNORE 0x00000002
#define MB_YESNOCANCEL 0x00000003
#define MB_YESNO 0x00000004
#define MB_RETRYCANCEL 0x00000005
#define MB_TYPEMASK 0x0000000F
#define MB_ICONERROR 0x00000010
#define MB_ICONQUESTION 0x00000020
#define MB_ICONWARNING 0x00000030
#define MB_ICONINFORMATION 0x00000040
#define MB_ICONMASK 0x000000F0
#define MB_DEFBUTTON2 0x00000100
#define MB_DEFBUTTON3 0x00000200
#define MB_DEFMASK 0x00000F00
#define MB_SETFOREGROUND 0x00010000

#define IDC_ARROW MAKEINTRESOURCEW(32512)
#define IDC_WAIT MAKEINTRESOURCEW(32514)

extern "C" {
typedef LRESULT(CALLBACK* WNDPROC)(HWND, UINT, WPARAM, LPARAM);
typedef INT_PTR(CALLBACK* DLGPROC)(HWND, UINT, WPARAM, LPARAM);
typedef LRESULT(CALLBACK* HOOKPROC)(int code, WPARAM, LPARAM);
typedef BOOL(CALLBACK* WNDENUMPROC)(HWND, LPARAM);
typedef void(CALLBACK* TIMERPROC)(HWND, UINT, UINT_PTR, DWORD);
}

typedef struct tagMSG {
  HWND hwnd;
  UINT message;
  WPARAM wParam;
  LPARAM lParam;
  DWORD time;
  POINT pt;
} MSG, *LPMSG;
static_assert(sizeof(MSG) == (sizeof(void*) == 4 ? 28 : 48));

typedef struct tagWNDCLASSW {
  UINT style;
  WNDPROC lpfnWndProc;
  int cbClsExtra;
  int cbWndExtra;
  HINSTANCE hInstance;
  HICON hIcon;
  HCURSOR hCursor;
  HBRUSH hbrBackground;
  LPCWSTR lpszMenuName;
  LPCWSTR lpszClassName;
} WNDCLASSW, *LPWNDCLASSW;
static_assert(sizeof(WNDCLASSW) == (sizeof(void*) == 4 ? 40 : 72));

typedef struct tagCREATESTRUCTW {
  LPVOID lpCreateParams;
  HINSTANCE hInstance;
  HMENU hMenu;
  HWND hwndParent;
  int cy;
  int cx;
  int y;
  int x;
  LONG style;
  LPCWSTR lpszName;
  LPCWSTR lpszClass;
  DWORD dwExStyle;
} CREATESTRUCTW;
static_assert(sizeof(CREATESTRUCTW) == (sizeof(void*) == 4 ? 48 : 80));

typedef struct tagCBT_CREATEWNDW {
  CREATESTRUCTW* lpcs;
  HWND hwndInsertAfter;
} CBT_CREATEWNDW;

typedef struct tagCBTACTIVATESTRUCT {
  BOOL fMouse;
  HWND hWndActive;
} CBTACTIVATESTRUCT;

typedef struct tagPAINTSTRUCT {
  HDC hdc;
  BOOL fErase;
  RECT rcPaint;
  BOOL fRestore;
  BOOL fIncUpdate;
  BYTE rgbReserved[32];
} PAINTSTRUCT, *LPPAINTSTRUCT;
static_assert(sizeof(PAINTSTRUCT) == (sizeof(void*) == 4 ? 64 : 72));

typedef struct tagDRAWITEMSTRUCT {
  UINT CtlType;
  UINT CtlID;
  UINT itemID;
  UINT itemAction;
  UINT itemState;
  HWND hwndItem;
  HDC hDC;
  RECT rcItem;
  ULONG_PTR itemData;
} DRAWITEMSTRUCT;
static_assert(sizeof(DRAWITEMSTRUCT) == (sizeof(void*) == 4 ? 48 : 64));

typedef struct tagNONCLIENTMETRICSW {
  UINT cbSize;
  int iBorderWidth;
  int iScrollWidth;
  int iScrollHeight;
  int iCaptionWidth;
  int iCaptionHeight;
  LOGFONTW lfCaptionFont;
  int iSmCaptionWidth;
  int iSmCaptionHeight;
  LOGFONTW lfSmCaptionFont;
  int iMenuWidth;
  int iMenuHeight;
  LOGFONTW lfMenuFont;
  LOGFONTW lfStatusFont;
  LOGFONTW lfMessageFont;
  int iPaddedBorderWidth;  // from Windows Vista on
} NONCLIENTMETRICSW;
static_assert(sizeof(NONCLIENTMETRICSW) == 504);

#ifndef __LP64__
#define GetWindowLongPtrW GetWindowLongW
#define SetWindowLongPtrW SetWindowLongW
#endif

extern "C" {
// Formats into a buffer of 1024 characters by user32's rules: no floating conversions, narrow text
// is of the ANSI code page, a longer result is cut to 1023 characters. Always terminates; returns
// the characters written without the terminator.
int WINAPI wvsprintfW(LPWSTR buffer, LPCWSTR format, va_list arguments);

// Upper- or lower-cases a terminated string in place and returns it; an argument below 0x10000 is a
// single character, whose other case is returned.
LPWSTR WINAPI CharUpperW(LPWSTR text);
LPWSTR WINAPI CharLowerW(LPWSTR text);

// The number, from 0xC000, of a name of 1 to 255 characters; the same for the same name, without
// regard to case, in every process of the machine. Messages and clipboard formats share the
// numbers. 0 on failure.
UINT WINAPI RegisterWindowMessageW(LPCWSTR name);
UINT WINAPI RegisterClipboardFormatW(LPCWSTR name);

// The metric, in pixels where it is a length; 0 for one that is not known.
int WINAPI GetSystemMetrics(int index);
// SPI_GETNONCLIENTMETRICS only: `parameter` is a NONCLIENTMETRICSW whose size stands in it, 500
// bytes before Windows Vista, 504 or 500 from then on. FALSE: ERROR_INVALID_PARAMETER.
BOOL WINAPI SystemParametersInfoW(UINT action, UINT size, PVOID parameter, UINT update);
// Loads the icon of a module's resources for a size in pixels (IMAGE_ICON, LR_DEFAULTCOLOR only),
// freed by the caller with DestroyIcon. Null on failure: ERROR_RESOURCE_TYPE_NOT_FOUND,
// ERROR_RESOURCE_NAME_NOT_FOUND, ERROR_RESOURCE_DATA_NOT_FOUND.
HANDLE WINAPI LoadImageW(HINSTANCE instance, LPCWSTR name, UINT type, int width, int height,
                         UINT flags);
BOOL WINAPI DestroyIcon(HICON icon);
// A cursor of the system (`instance` must be null), which belongs to the system.
HCURSOR WINAPI LoadCursorW(HINSTANCE instance, LPCWSTR name);
// Makes `cursor` the current one; returns the previous one, null when there was none.
HCURSOR WINAPI SetCursor(HCURSOR cursor);

// Registers a class of this process; returns its atom, 0 on failure (ERROR_CLASS_ALREADY_EXISTS,
// ERROR_INVALID_PARAMETER).
ATOM WINAPI RegisterClassW(const WNDCLASSW* window_class);
// FALSE when it does not exist (ERROR_CLASS_DOES_NOT_EXIST) or has windows
// (ERROR_CLASS_HAS_WINDOWS).
BOOL WINAPI UnregisterClassW(LPCWSTR name, HINSTANCE instance);
// Finds a class of this process, or of the system when `instance` is null. The name in the result
// is the caller's `name`. FALSE: ERROR_CLASS_DOES_NOT_EXIST.
BOOL WINAPI GetClassInfoW(HINSTANCE instance, LPCWSTR name, LPWNDCLASSW window_class);

// Creates a window of the calling thread; `parent` is the parent of a child (WS_CHILD), else the
// owner; `menu` is the identifier of a child. Null on failure: ERROR_CANNOT_FIND_WND_CLASS,
// ERROR_INVALID_WINDOW_HANDLE, or when WM_NCCREATE, WM_CREATE or a hook refused it.
HWND WINAPI CreateWindowExW(DWORD ex_style, LPCWSTR class_name, LPCWSTR title, DWORD style, int x,
                            int y, int width, int height, HWND parent, HMENU menu,
                            HINSTANCE instance, LPVOID parameter);
// Destroys a window of the calling thread (ERROR_ACCESS_DENIED: of another) with its children and
// the windows that it owns.
BOOL WINAPI DestroyWindow(HWND window);
BOOL WINAPI IsWindow(HWND window);
// Calls the window's procedure, on the thread that owns the window, and returns its result. For a
// window of another thread it waits until that thread looks at its messages, and serves meanwhile
// what others send to the calling thread; 0 when the window goes away before.
LRESULT WINAPI SendMessageW(HWND window, UINT message, WPARAM wparam, LPARAM lparam);
// The same for all top-level windows of the process: `window` must be HWND_BROADCAST and the flags
// SMTO_ABORTIFHUNG (else ERROR_CALL_NOT_IMPLEMENTED). Each window of another thread gets `timeout`
// milliseconds to answer. Returns 1, whatever the windows did, and leaves `result` (may be null) 0.
LRESULT WINAPI SendMessageTimeoutW(HWND window, UINT message, WPARAM wparam, LPARAM lparam,
                                   UINT flags, UINT timeout, PDWORD_PTR result);
LRESULT WINAPI DefWindowProcW(HWND window, UINT message, WPARAM wparam, LPARAM lparam);
LRESULT WINAPI CallWindowProcW(WNDPROC previous, HWND window, UINT message, WPARAM wparam,
                               LPARAM lparam);
// Appends a message to the queue of the window's thread, of the calling thread when `window` is
// null. FALSE: ERROR_INVALID_WINDOW_HANDLE, ERROR_INVALID_THREAD_ID (the thread has ended).
BOOL WINAPI PostMessageW(HWND window, UINT message, WPARAM wparam, LPARAM lparam);
// Lets PeekMessageW answer WM_QUIT with the exit code as wParam once nothing posted is left.
void WINAPI PostQuitMessage(int exit_code);
// Calls the procedures for what other threads have sent, then looks at the calling thread's queue:
// messages posted, WM_QUIT (whatever the range), WM_PAINT, WM_TIMER. Takes those of `window` and
// its children (null: all) with numbers from `first` to `last` (both 0: all); PM_REMOVE takes the
// message out, PM_NOREMOVE only looks. FALSE when there is none.
BOOL WINAPI PeekMessageW(LPMSG message, HWND window, UINT first, UINT last, UINT flags);
// Posts WM_CHAR for a key that types a character; TRUE for a message of the keyboard.
BOOL WINAPI TranslateMessage(const MSG* message);
// Calls the procedure of the message's window; 0 when there is none.
LRESULT WINAPI DispatchMessageW(const MSG* message);
// Handles a message for the dialog or a window below it: Escape and Enter press buttons, Tab moves
// the focus, everything else is translated and dispatched. FALSE, with nothing done, for messages
// of other windows.
BOOL WINAPI IsDialogMessageW(HWND dialog, LPMSG message);
// Waits for one of at most 63 objects or for new input of a kind in `wake_mask` (QS_…), which
// answers WAIT_OBJECT_0 + count. `all` is not there (ERROR_CALL_NOT_IMPLEMENTED).
DWORD WINAPI MsgWaitForMultipleObjects(DWORD count, const HANDLE* objects, BOOL all,
                                       DWORD milliseconds, DWORD wake_mask);
// Has WM_TIMER come to a window of the calling thread each `period` milliseconds (10 at least),
// with `id` (not 0) as wParam; an id that the window has already begins anew. `procedure` must be
// null. Returns the id, 0 on failure.
UINT_PTR WINAPI SetTimer(HWND window, UINT_PTR id, UINT period, TIMERPROC procedure);
// FALSE when the window has no such timer. A WM_TIMER of it does not come any more.
BOOL WINAPI KillTimer(HWND window, UINT_PTR id);
// Begins to paint what wants to be painted of the window, all of which counts as painted
// afterwards; null on failure. EndPaint gives the context back.
HDC WINAPI BeginPaint(HWND window, LPPAINTSTRUCT paint);
BOOL WINAPI EndPaint(HWND window, const PAINTSTRUCT* paint);
// Paints now what wants to be painted of the window and those below it.
BOOL WINAPI UpdateWindow(HWND window);
// Read and replace a field of the window (GWL_…, GWLP_…, or a byte offset into its extra bytes);
// the result is the (previous) value, 0 on failure (ERROR_INVALID_WINDOW_HANDLE,
// ERROR_INVALID_INDEX).
LONG_PTR WINAPI GetWindowLongPtrW(HWND window, int index);
#ifdef __LP64__
// The fields of 32 bits, which have a negative index; others: ERROR_CALL_NOT_IMPLEMENTED.
LONG WINAPI GetWindowLongW(HWND window, int index);
#endif
LONG_PTR WINAPI SetWindowLongPtrW(HWND window, int index, LONG_PTR value);

// A top-level window of this process by class name and title (null: any), without regard to case.
HWND WINAPI FindWindowW(LPCWSTR class_name, LPCWSTR title);
// Calls `callback` for the thread's top-level windows from the front to the back until it answers
// FALSE; FALSE when it did, or when there are no windows.
BOOL WINAPI EnumThreadWindows(DWORD thread, WNDENUMPROC callback, LPARAM parameter);
// The window that was last active among `window` and the popups it owns; `window` itself when there
// is none or it is owned.
HWND WINAPI GetLastActivePopup(HWND window);
// The parent of a child, the owner of a popup, else null.
HWND WINAPI GetParent(HWND window);
// The child with the identifier; null when there is none (ERROR_CONTROL_ID_NOT_FOUND).
HWND WINAPI GetDlgItem(HWND dialog, int id);
// Windows of the system, good for little but being owners and asking for their process. No shell
// runs: null.
HWND WINAPI GetDesktopWindow();
HWND WINAPI GetShellWindow();
// Asks for a restart (EWX_REBOOT) or shutdown of the machine; needs SeShutdownPrivilege.
BOOL WINAPI ExitWindowsEx(UINT flags, DWORD reason);
DWORD WINAPI GetWindowThreadProcessId(HWND window, LPDWORD process);
BOOL WINAPI IsWindowEnabled(HWND window);
// Shows (SW_SHOWNORMAL, also out of the minimised state; SW_SHOW) or minimises a window, which
// activates or deactivates a top-level one, or hides it (SW_HIDE). Returns whether it was visible;
// FALSE for other commands (ERROR_CALL_NOT_IMPLEMENTED).
BOOL WINAPI ShowWindow(HWND window, int command);
// Whether the window and all above it are visible.
BOOL WINAPI IsWindowVisible(HWND window);
// Whether the window is minimised.
BOOL WINAPI IsIconic(HWND window);
// Moves and sizes a window, in pixels of the screen or of its parent's client area, and puts it
// behind another one (HWND_TOP, HWND_BOTTOM) of its parent. SWP_NOSIZE, SWP_NOMOVE, SWP_NOZORDER
// leave out a part; without SWP_NOACTIVATE a top-level window becomes active.
BOOL WINAPI SetWindowPos(HWND window, HWND insert_after, int x, int y, int width, int height,
                         UINT flags);
// The size of the client area: left and top are 0.
BOOL WINAPI GetClientRect(HWND window, LPRECT rectangle);
// Turns points of one window's client area into points of another's (null: of the screen), in
// place; returns the distance, its low word horizontal.
int WINAPI MapWindowPoints(HWND from, HWND to, LPPOINT points, UINT count);
// Gives the keyboard to a window of the calling thread (null: to none), whose top-level window
// becomes active; returns the window that had it. Null, with the focus where it was, when the
// window or one above it is disabled or minimised, or a hook objects.
HWND WINAPI SetFocus(HWND window);
// The calling thread's window with the keyboard.
HWND WINAPI GetFocus();
// Returns whether the window was disabled before.
BOOL WINAPI EnableWindow(HWND window, BOOL enable);
BOOL WINAPI GetWindowRect(HWND window, LPRECT rectangle);

// Buffers and results in characters, results without the terminator; the text is cut to fit.
int WINAPI GetWindowTextW(HWND window, LPWSTR buffer, int capacity);
BOOL WINAPI SetWindowTextW(HWND window, LPCWSTR text);
int WINAPI GetClassNameW(HWND window, LPWSTR buffer, int capacity);

// Values by name (without regard to case) that callers attach to a window. RemovePropW returns the
// value removed, null when there was none.
BOOL WINAPI SetPropW(HWND window, LPCWSTR name, HANDLE value);
HANDLE WINAPI GetPropW(HWND window, LPCWSTR name);
HANDLE WINAPI RemovePropW(HWND window, LPCWSTR name);

// Hooks of one thread; WH_CBT with HCBT_CREATEWND, HCBT_DESTROYWND, HCBT_ACTIVATE and
// HCBT_SETFOCUS. The hook set last is called first and passes the call on with CallNextHookEx,
// which does not look at `hook`.
HHOOK WINAPI SetWindowsHookExW(int type, HOOKPROC procedure, HINSTANCE module, DWORD thread);
BOOL WINAPI UnhookWindowsHookEx(HHOOK hook);
LRESULT WINAPI CallNextHookEx(HHOOK hook, int code, WPARAM wparam, LPARAM lparam);

// Shows a box and returns the identifier of the button that ended it; 0 on failure. `owner` is
// disabled meanwhile.
int WINAPI MessageBoxW(HWND owner, LPCWSTR text, LPCWSTR title, UINT style);

// The clipboard, which one window or thread has open at a time. A block handed to SetClipboardData
// belongs to the clipboard from then on.
BOOL WINAPI OpenClipboard(HWND owner);
BOOL WINAPI EmptyClipboard();
HANDLE WINAPI SetClipboardData(UINT format, HANDLE data);
BOOL WINAPI CloseClipboard();
}
