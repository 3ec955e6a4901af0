// The print spooler.
#pragma once

#include <wingdi.h>

#define PRINTER_STATUS_PENDING_DELETION 0x00000004

#define PRINTER_ATTRIBUTE_QUEUED 0x00000001
#define PRINTER_ATTRIBUTE_DIRECT 0x00000002
#define PRINTER_ATTRIBUTE_DEFAULT 0x00000004
#define PRINTER_ATTRIBUTE_SHARED 0x00000008
#define PRINTER_ATTRIBUTE_NETWORK 0x00000010
#define PRINTER_ATTRIBUTE_LOCAL 0x00000040
#define PRINTER_ATTRIBUTE_KEEPPRINTEDJOBS 0x00000100

#define PRINTER_ENUM_LOCAL 0x00000002
#define PRINTER_ENUM_CONNECTIONS 0x00000004
#define PRINTER_ENUM_NAME 0x00000008
#define PRINTER_ENUM_SHARED 0x00000020
#define PRINTER_ENUM_ICON8 0x00800000

#define JOB_STATUS_DELETING 0x00000004
#define JOB_STATUS_PRINTING 0x00000010
#define JOB_STATUS_PRINTED 0x00000080

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
} PRINTER_DEFAULTSW, *LPPRINTER_DEFAULTSW, PRINTER_DEFAULTS, *LPPRINTER_DEFAULTS;

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
} PRINTER_INFO_2W, *LPPRINTER_INFO_2W, PRINTER_INFO_2, *LPPRINTER_INFO_2;
static_assert(sizeof(PRINTER_INFO_2W) == (sizeof(void*) == 4 ? 84 : 136));

typedef struct _PRINTER_INFO_4W {
  LPWSTR pPrinterName;
  LPWSTR pServerName;
  DWORD Attributes;
} PRINTER_INFO_4W, PRINTER_INFO_4;
static_assert(sizeof(PRINTER_INFO_4W) == (sizeof(void*) == 4 ? 12 : 24));

typedef struct _PRINTER_INFO_5W {
  LPWSTR pPrinterName;
  LPWSTR pPortName;
  DWORD Attributes;
  DWORD DeviceNotSelectedTimeout;
  DWORD TransmissionRetryTimeout;
} PRINTER_INFO_5W, PRINTER_INFO_5;
static_assert(sizeof(PRINTER_INFO_5W) == (sizeof(void*) == 4 ? 20 : 32));

typedef struct _DRIVER_INFO_2W {
  DWORD cVersion;
  LPWSTR pName;
  LPWSTR pEnvironment;
  LPWSTR pDriverPath;
  LPWSTR pDataFile;
  LPWSTR pConfigFile;
} DRIVER_INFO_2W, DRIVER_INFO_2;
static_assert(sizeof(DRIVER_INFO_2W) == (sizeof(void*) == 4 ? 24 : 48));

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
} DRIVER_INFO_3W, DRIVER_INFO_3;
static_assert(sizeof(DRIVER_INFO_3W) == (sizeof(void*) == 4 ? 40 : 80));

typedef struct _DOC_INFO_1W {
  LPWSTR pDocName;
  LPWSTR pOutputFile;
  LPWSTR pDatatype;
} DOC_INFO_1W, DOC_INFO_1;

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
} JOB_INFO_2W, *LPJOB_INFO_2W, JOB_INFO_2;
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

typedef struct _MONITOR_INFO_1W {
  LPWSTR pName;
} MONITOR_INFO_1W, MONITOR_INFO_1;

typedef struct _MONITOR_INFO_2W {
  LPWSTR pName;
  LPWSTR pEnvironment;
  LPWSTR pDLLName;
} MONITOR_INFO_2W, MONITOR_INFO_2;
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
BOOL WINAPI OpenPrinterW(LPWSTR name, LPHANDLE printer, LPPRINTER_DEFAULTSW defaults);
BOOL WINAPI ClosePrinter(HANDLE printer);
BOOL WINAPI GetPrinterW(HANDLE printer, DWORD level, LPBYTE buffer, DWORD size, LPDWORD needed);
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
}
