// The print spooler.
#pragma once

#include <wingdi.h>

#define PRINTER_ATTRIBUTE_SHARED 0x00000008
#define PRINTER_ATTRIBUTE_NETWORK 0x00000010
#define PRINTER_ATTRIBUTE_LOCAL 0x00000040
#define PRINTER_ATTRIBUTE_KEEPPRINTEDJOBS 0x00000100

#define PRINTER_CONTROL_PURGE 3
#define PRINTER_ENUM_LOCAL 0x00000002
#define PRINTER_ENUM_CONNECTIONS 0x00000004
#define PRINTER_ENUM_NAME 0x00000008
#define PRINTER_ENUM_SHARED 0x00000020
#define PRINTER_ENUM_ICON8 0x00800000

#define JOB_STATUS_PRINTING 0x00000010
#define JOB_STATUS_PRINTED 0x00000080

#define DSPRINT_UNPUBLISH 0x00000004

#define PORT_TYPE_WRITE 0x0001
#define PORT_TYPE_READ 0x0002

#define PRINTER_ACCESS_ADMINISTER 0x00000004
#define PRINTER_ACCESS_USE 0x00000008
#define PRINTER_ALL_ACCESS \
  (STANDARD_RIGHTS_REQUIRED | PRINTER_ACCESS_ADMINISTER | PRINTER_ACCESS_USE)
#define PRINTER_READ (STANDARD_RIGHTS_READ | PRINTER_ACCESS_USE)
#define PRINTER_WRITE (STANDARD_RIGHTS_WRITE | PRINTER_ACCESS_USE)
#define PRINTER_EXECUTE (STANDARD_RIGHTS_EXECUTE | PRINTER_ACCESS_USE)

typedef struct _PRINTER_DEFAULTSW {
  LPWSTR pDatatype;
  LPDEVMODEW pDevMode;
  ACCESS_MASK DesiredAccess;
} PRINTER_DEFAULTSW, *LPPRINTER_DEFAULTSW;

typedef struct _PRINTER_INFO_1W {
  DWORD Flags;
  LPWSTR pDescription;
  LPWSTR pName;
  LPWSTR pComment;
} PRINTER_INFO_1W, PRINTER_INFO_1;
static_assert(sizeof(PRINTER_INFO_1W) == (sizeof(void*) == 4 ? 16 : 32));

typedef struct _PRINTER_INFO_2W {
  LPWSTR pServerName;
  LPWSTR pPrinterName;
  LPWSTR pShareName;
  LPWSTR pPortName;
  LPWSTR pDriverName;
  LPWSTR pComment;
  LPWSTR pLocation;
  LPDEVMODEW pDevMode;
  LPWSTR pSepFile;
  LPWSTR pPrintProcessor;
  LPWSTR pDatatype;
  LPWSTR pParameters;
  PSECURITY_DESCRIPTOR pSecurityDescriptor;
  DWORD Attributes;
  DWORD Priority;
  DWORD DefaultPriority;
  DWORD StartTime;
  DWORD UntilTime;
  DWORD Status;
  DWORD cJobs;
  DWORD AveragePPM;
} PRINTER_INFO_2W, PRINTER_INFO_2;
static_assert(sizeof(PRINTER_INFO_2W) == (sizeof(void*) == 4 ? 84 : 136));

typedef struct _PRINTER_INFO_4W {
  LPWSTR pPrinterName;
  LPWSTR pServerName;
  DWORD Attributes;
} PRINTER_INFO_4W;
static_assert(sizeof(PRINTER_INFO_4W) == (sizeof(void*) == 4 ? 12 : 24));

typedef struct _PRINTER_INFO_5W {
  LPWSTR pPrinterName;
  LPWSTR pPortName;
  DWORD Attributes;
  DWORD DeviceNotSelectedTimeout;
  DWORD TransmissionRetryTimeout;
} PRINTER_INFO_5W;
static_assert(sizeof(PRINTER_INFO_5W) == (sizeof(void*) == 4 ? 20 : 32));

typedef struct _PRINTER_INFO_8W {
  LPDEVMODEW pDevMode;
} PRINTER_INFO_8W;

typedef struct _PRINTER_INFO_9W {
  LPDEVMODEW pDevMode;
} PRINTER_INFO_9W;

typedef struct _PRINTER_INFO_1A {
  DWORD Flags;
  LPSTR pDescription;
  LPSTR pName;
  LPSTR pComment;
} PRINTER_INFO_1A;
static_assert(sizeof(PRINTER_INFO_1A) == (sizeof(void*) == 4 ? 16 : 32));

typedef struct _PRINTER_INFO_2A {
  LPSTR pServerName;
  LPSTR pPrinterName;
  LPSTR pShareName;
  LPSTR pPortName;
  LPSTR pDriverName;
  LPSTR pComment;
  LPSTR pLocation;
  LPDEVMODEA pDevMode;
  LPSTR pSepFile;
  LPSTR pPrintProcessor;
  LPSTR pDatatype;
  LPSTR pParameters;
  PSECURITY_DESCRIPTOR pSecurityDescriptor;
  DWORD Attributes;
  DWORD Priority;
  DWORD DefaultPriority;
  DWORD StartTime;
  DWORD UntilTime;
  DWORD Status;
  DWORD cJobs;
  DWORD AveragePPM;
} PRINTER_INFO_2A;
static_assert(sizeof(PRINTER_INFO_2A) == (sizeof(void*) == 4 ? 84 : 136));

typedef struct _PRINTER_INFO_4A {
  LPSTR pPrinterName;
  LPSTR pServerName;
  DWORD Attributes;
} PRINTER_INFO_4A;
static_assert(sizeof(PRINTER_INFO_4A) == (sizeof(void*) == 4 ? 12 : 24));

typedef struct _PRINTER_INFO_5A {
  LPSTR pPrinterName;
  LPSTR pPortName;
  DWORD Attributes;
  DWORD DeviceNotSelectedTimeout;
  DWORD TransmissionRetryTimeout;
} PRINTER_INFO_5A;
static_assert(sizeof(PRINTER_INFO_5A) == (sizeof(void*) == 4 ? 20 : 32));

typedef struct _PRINTER_INFO_8A {
  LPDEVMODEA pDevMode;
} PRINTER_INFO_8A;

typedef struct _PRINTER_INFO_9A {
  LPDEVMODEA pDevMode;
} PRINTER_INFO_9A;

typedef struct _DRIVER_INFO_3W {
  DWORD cVersion;
  LPWSTR pName;
  LPWSTR pEnvironment;
  LPWSTR pDriverPath;
  LPWSTR pDataFile;
  LPWSTR pConfigFile;
  LPWSTR pHelpFile;
  LPWSTR pDependentFiles;
  LPWSTR pMonitorName;
  LPWSTR pDefaultDataType;
} DRIVER_INFO_3W;
static_assert(sizeof(DRIVER_INFO_3W) == (sizeof(void*) == 4 ? 40 : 80));

typedef struct _DOC_INFO_1W {
  LPWSTR pDocName;
  LPWSTR pOutputFile;
  LPWSTR pDatatype;
} DOC_INFO_1W;

typedef struct _JOB_INFO_2W {
  DWORD JobId;
  LPWSTR pPrinterName;
  LPWSTR pMachineName;
  LPWSTR pUserName;
  LPWSTR pDocument;
  LPWSTR pNotifyName;
  LPWSTR pDatatype;
  LPWSTR pPrintProcessor;
  LPWSTR pParameters;
  LPWSTR pDriverName;
  LPDEVMODEW pDevMode;
  LPWSTR pStatus;
  PSECURITY_DESCRIPTOR pSecurityDescriptor;
  DWORD Status;
  DWORD Priority;
  DWORD Position;
  DWORD StartTime;
  DWORD UntilTime;
  DWORD TotalPages;
  DWORD Size;
  SYSTEMTIME Submitted;
  DWORD Time;
  DWORD PagesPrinted;
} JOB_INFO_2W;
static_assert(sizeof(JOB_INFO_2W) == (sizeof(void*) == 4 ? 104 : 160));

typedef struct _PORT_INFO_1W {
  LPWSTR pName;
} PORT_INFO_1W, PORT_INFO_1;

typedef struct _PORT_INFO_2W {
  LPWSTR pPortName;
  LPWSTR pMonitorName;
  LPWSTR pDescription;
  DWORD fPortType;
  DWORD Reserved;
} PORT_INFO_2W, PORT_INFO_2;
static_assert(sizeof(PORT_INFO_2W) == (sizeof(void*) == 4 ? 20 : 32));

typedef struct _MONITOR_INFO_2W {
  LPWSTR pName;
  LPWSTR pEnvironment;
  LPWSTR pDLLName;
} MONITOR_INFO_2W;
static_assert(sizeof(MONITOR_INFO_2W) == 3 * sizeof(void*));

extern "C" {
BOOL WINAPI AddMonitorW(LPWSTR server, DWORD level, LPBYTE info);
BOOL WINAPI DeleteMonitorW(LPWSTR server, LPWSTR environment, LPWSTR monitor);
BOOL WINAPI EnumMonitorsW(LPWSTR server, DWORD level, LPBYTE buffer, DWORD size, LPDWORD needed,
                          LPDWORD returned);
BOOL WINAPI EnumPortsW(LPWSTR server, DWORD level, LPBYTE buffer, DWORD size, LPDWORD needed,
                       LPDWORD returned);

BOOL WINAPI AddPrinterDriverW(LPWSTR server, DWORD level, LPBYTE info);
BOOL WINAPI EnumPrinterDriversW(LPWSTR server, LPWSTR environment, DWORD level, LPBYTE buffer,
                                DWORD size, LPDWORD needed, LPDWORD returned);
BOOL WINAPI GetPrinterDriverW(HANDLE printer, LPWSTR environment, DWORD level, LPBYTE buffer,
                              DWORD size, LPDWORD needed);
BOOL WINAPI GetPrinterDriverDirectoryW(LPWSTR server, LPWSTR environment, DWORD level,
                                       LPBYTE buffer, DWORD size, LPDWORD needed);

HANDLE WINAPI AddPrinterW(LPWSTR server, DWORD level, LPBYTE info);
BOOL WINAPI DeletePrinter(HANDLE printer);
// Connects the calling user to a printer that another server shares ("\\server\printer"); TRUE
// also when that is so already. FALSE: ERROR_INVALID_PRINTER_NAME.
BOOL WINAPI AddPrinterConnectionW(LPWSTR name);
BOOL WINAPI OpenPrinterW(LPWSTR name, LPHANDLE printer, LPPRINTER_DEFAULTSW defaults);
BOOL WINAPI ClosePrinter(HANDLE printer);
// Levels 1 to 9 (7 to 9 from Windows 2000 on, else ERROR_INVALID_LEVEL). Level 8 is what all users
// start from, level 9 what the calling user has set (a null pointer when nothing).
BOOL WINAPI GetPrinterW(HANDLE printer, DWORD level, LPBYTE buffer, DWORD size, LPDWORD needed);
// The same with ANSI texts and DEVMODEA.
BOOL WINAPI GetPrinterA(HANDLE printer, DWORD level, LPBYTE buffer, DWORD size, LPDWORD needed);
// PRINTER_CONTROL_PURGE with level 0, which removes the jobs (PRINTER_ACCESS_ADMINISTER).
// Command 0 with level 2 or 8 (PRINTER_ACCESS_ADMINISTER) or 9 (PRINTER_ACCESS_USE). Level 2 keeps
// the name (another one: ERROR_CALL_NOT_IMPLEMENTED) and the security descriptor, and without a
// DEVMODE the old one; a null DEVMODE of level 8 or 9 removes what was set. FALSE:
// ERROR_ACCESS_DENIED (also for printers of other servers, but for level 9),
// ERROR_INVALID_SHARENAME, and the errors of AddPrinterW.
BOOL WINAPI SetPrinterW(HANDLE printer, DWORD level, LPBYTE info, DWORD command);
// PRINTER_ENUM_LOCAL, PRINTER_ENUM_CONNECTIONS (the user's, of other servers) or PRINTER_ENUM_NAME
// with a server's name; with PRINTER_ENUM_SHARED the shared ones only.
BOOL WINAPI EnumPrintersW(DWORD flags, LPWSTR name, DWORD level, LPBYTE buffer, DWORD size,
                          LPDWORD needed, LPDWORD returned);

// Level 2: a job of the printer; ERROR_INVALID_PARAMETER when it is gone. When it was submitted is
// not told.
BOOL WINAPI GetJobW(HANDLE printer, DWORD job, DWORD level, LPBYTE buffer, DWORD size,
                    LPDWORD needed);
DWORD WINAPI StartDocPrinterW(HANDLE printer, DWORD level, LPBYTE document);
BOOL WINAPI StartPagePrinter(HANDLE printer);
BOOL WINAPI WritePrinter(HANDLE printer, LPVOID data, DWORD size, LPDWORD written);
BOOL WINAPI EndPagePrinter(HANDLE printer);
BOOL WINAPI EndDocPrinter(HANDLE printer);
BOOL WINAPI AbortPrinter(HANDLE printer);

// Asks the printer's driver for settings. Mode 0: the size in bytes of a DEVMODE of this driver.
// Otherwise starts from the settings in force for the calling user; DM_IN_BUFFER lays over them
// what `in` carries and the driver understands (a device mode of another size counts as none);
// DM_IN_PROMPT shows them in a box whose OK button keeps them; DM_OUT_BUFFER writes them to `out`.
// Returns IDOK, or IDCANCEL without writing. -1 on failure: ERROR_INVALID_HANDLE,
// ERROR_CALL_NOT_IMPLEMENTED for other modes.
LONG WINAPI DocumentPropertiesW(HWND owner, HANDLE printer, LPWSTR device, PDEVMODEW out,
                                PDEVMODEW in, DWORD mode);
}
