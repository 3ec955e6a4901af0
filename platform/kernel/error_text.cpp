#include <windows.h>

#include <algorithm>
#include <string_view>

#include "platform/kernel/api_call.h"
#include "platform/kernel/text.h"

namespace platform {
namespace {

struct ErrorText {
  DWORD code;
  std::string_view text;  // without the line break behind each
};

// clang-format off
constexpr ErrorText kErrorTexts[] = {
    {0, "The operation completed successfully."},
    {1, "Incorrect function."},
    {2, "The system cannot find the file specified."},
    {3, "The system cannot find the path specified."},
    {4, "The system cannot open the file."},
    {5, "Access is denied."},
    {6, "The handle is invalid."},
    {8, "Not enough memory resources are available to process this command."},
    {11, "An attempt was made to load a program with an incorrect format."},
    {13, "The data is invalid."},
    {14, "Not enough memory resources are available to complete this operation."},
    {15, "The system cannot find the drive specified."},
    {16, "The directory cannot be removed."},
    {17, "The system cannot move the file to a different disk drive."},
    {18, "There are no more files."},
    {19, "The media is write protected."},
    {21, "The device is not ready."},
    {24, "The program issued a command but the command length is incorrect."},
    {25, "The drive cannot locate a specific area or track on the disk."},
    {29, "The system cannot write to the specified device."},
    {30, "The system cannot read from the specified device."},
    {31, "A device attached to the system is not functioning."},
    {32, "The process cannot access the file because it is being used by another process."},
    {33, "The process cannot access the file because another process has locked a portion of the file."},
    {38, "Reached the end of the file."},
    {39, "The disk is full."},
    {50, "The request is not supported."},
    {53, "The network path was not found."},
    {67, "The network name cannot be found."},
    {80, "The file exists."},
    {82, "The directory or file cannot be created."},
    {87, "The parameter is incorrect."},
    {109, "The pipe has been ended."},
    {111, "The file name is too long."},
    {112, "There is not enough space on the disk."},
    {120, "This function is not supported on this system."},
    {121, "The semaphore timeout period has expired."},
    {122, "The data area passed to a system call is too small."},
    {123, "The filename, directory name, or volume label syntax is incorrect."},
    {124, "The system call level is not correct."},
    {126, "The specified module could not be found."},
    {127, "The specified procedure could not be found."},
    {131, "An attempt was made to move the file pointer before the beginning of the file."},
    {145, "The directory is not empty."},
    {157, "The segment is already discarded and cannot be locked."},
    {158, "The segment is already unlocked."},
    {161, "The specified path is invalid."},
    {170, "The requested resource is in use."},
    {183, "Cannot create a file when that file already exists."},
    {193, "%1 is not a valid Win32 application."},
    {206, "The filename or extension is too long."},
    {230, "The pipe state is invalid."},
    {231, "All pipe instances are busy."},
    {232, "The pipe is being closed."},
    {233, "No process is on the other end of the pipe."},
    {234, "More data is available."},
    {258, "The wait operation timed out."},
    {259, "No more data is available."},
    {267, "The directory name is invalid."},
    {288, "Attempt to release mutex not owned by caller."},
    {317, "The system cannot find message text for message number 0x%1 in the message file for %2."},
    {487, "Attempt to access invalid address."},
    {535, "There is a process on other end of the pipe."},
    {536, "Waiting for a process to open the other end of the pipe."},
    {995, "The I/O operation has been aborted because of either a thread exit or an application request."},
    {997, "Overlapped I/O operation is in progress."},
    {998, "Invalid access to memory location."},
    {1004, "Invalid flags."},
    {1006, "The volume for a file has been externally altered so that the opened file is no longer valid."},
    {1008, "An attempt was made to reference a token that does not exist."},
    {1009, "The configuration registry database is corrupt."},
    {1010, "The configuration registry key is invalid."},
    {1011, "The configuration registry key could not be opened."},
    {1012, "The configuration registry key could not be read."},
    {1013, "The configuration registry key could not be written."},
    {1018, "Illegal operation attempted on a registry key that has been marked for deletion."},
    {1020, "Cannot create a symbolic link in a registry key that already has subkeys or values."},
    {1021, "Cannot create a stable subkey under a volatile parent key."},
    {1051, "A stop control has been sent to a service that other running services are dependent on."},
    {1052, "The requested control is not valid for this service."},
    {1053, "The service did not respond to the start or control request in a timely fashion."},
    {1054, "A thread could not be created for the service."},
    {1055, "The service database is locked."},
    {1056, "An instance of the service is already running."},
    {1058, "The service cannot be started, either because it is disabled or because it has no enabled devices associated with it."},
    {1060, "The specified service does not exist as an installed service."},
    {1061, "The service cannot accept control messages at this time."},
    {1062, "The service has not been started."},
    {1068, "The dependency service or group failed to start."},
    {1072, "The specified service has been marked for deletion."},
    {1073, "The specified service already exists."},
    {1113, "No mapping for the Unicode character exists in the target multi-byte code page."},
    {1114, "A dynamic link library (DLL) initialization routine failed."},
    {1151, "The specified program is not a Windows or MS-DOS program."},
    {1167, "The device is not connected."},
    {1168, "Element not found."},
    {1170, "The property set specified does not exist on the object."},
    {1223, "The operation was canceled by the user."},
    {1224, "The requested operation cannot be performed on a file with a user-mapped section open."},
    {1300, "Not all privileges or groups referenced are assigned to the caller."},
    {1305, "The revision level is unknown."},
    {1312, "A specified logon session does not exist. It may already have been terminated."},
    {1313, "A specified privilege does not exist."},
    {1314, "A required privilege is not held by the client."},
    {1332, "No mapping between account names and security IDs was done."},
    {1336, "The access control list (ACL) structure is invalid."},
    {1337, "The security ID structure is invalid."},
    {1338, "The security descriptor structure is invalid."},
    {1346, "Either a required impersonation level was not provided, or the provided impersonation level is invalid."},
    {1392, "The file or directory is corrupted and unreadable."},
    {1400, "Invalid window handle."},
    {1401, "Invalid menu handle."},
    {1402, "Invalid cursor handle."},
    {1404, "Invalid hook handle."},
    {1406, "Cannot create a top-level child window."},
    {1407, "Cannot find window class."},
    {1408, "Invalid window; it belongs to other thread."},
    {1410, "Class already exists."},
    {1411, "Class does not exist."},
    {1412, "Class still has open windows."},
    {1413, "Invalid index."},
    {1418, "Thread does not have a clipboard open."},
    {1421, "Control ID not found."},
    {1426, "Invalid hook procedure type."},
    {1438, "Invalid message box style."},
    {1450, "Insufficient system resources exist to complete the requested service."},
    {1460, "This operation returned because the timeout period expired."},
    {1722, "The RPC server is unavailable."},
    {1739, "No network address is available to use to construct a universal unique identifier (UUID)."},
    {1796, "The specified port is unknown."},
    {1797, "The printer driver is unknown."},
    {1798, "The print processor is unknown."},
    {1801, "The printer name is invalid."},
    {1802, "The printer already exists."},
    {1803, "The printer command is invalid."},
    {1804, "The specified datatype is invalid."},
    {1805, "The environment specified is invalid."},
    {1812, "The specified image file did not contain a resource section."},
    {1813, "The specified resource type cannot be found in the image file."},
    {1814, "The specified resource name cannot be found in the image file."},
    {1815, "The specified resource language ID cannot be found in the image file."},
    {1824, "A UUID that is valid only on this computer has been allocated."},
    {1902, "The specified form name is invalid."},
    {1905, "The printer has been deleted."},
    {1906, "The state of the printer is invalid."},
    {3001, "The specified printer driver is currently in use."},
    {3002, "The spool file was not found."},
    {3003, "A StartDocPrinter call was not issued."},
    {3004, "An AddJob call was not issued."},
    {3005, "The specified print processor has already been installed."},
    {3006, "The specified print monitor has already been installed."},
    {3007, "The specified print monitor does not have the required functions."},
    {3008, "The specified print monitor is currently in use."},
    {3009, "The requested operation is not allowed when there are jobs queued to the printer."},
    {7022, "The specified session cannot be found."},
};
// clang-format on

static_assert(std::is_sorted(std::begin(kErrorTexts), std::end(kErrorTexts),
                             [](const ErrorText& a, const ErrorText& b) {
                               return a.code < b.code;
                             }));

const ErrorText* FindText(DWORD code) {
  const auto found =
      std::lower_bound(std::begin(kErrorTexts), std::end(kErrorTexts), code,
                       [](const ErrorText& entry, DWORD wanted) { return entry.code < wanted; });
  return found != std::end(kErrorTexts) && found->code == code ? found : nullptr;
}

DWORD Fail(DWORD error) {
  SetLastError(error);
  return 0;
}

}  // namespace
}  // namespace platform

using namespace platform;

DWORD WINAPI FormatMessageW(DWORD flags, LPCVOID source, DWORD message, DWORD language,
                            LPWSTR buffer, DWORD size, va_list* arguments) {
  KV_API(FormatMessageW, ERROR_MR_MID_NOT_FOUND, 0, flags, source, message, language, buffer, size,
         arguments);
  constexpr DWORD kPlain = FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS;
  const bool allocates = flags == (kPlain | FORMAT_MESSAGE_ALLOCATE_BUFFER);
  if ((flags != kPlain && !allocates) || language != 0) return Fail(ERROR_CALL_NOT_IMPLEMENTED);
  const ErrorText* found = FindText(message);
  if (found == nullptr) return Fail(ERROR_MR_MID_NOT_FOUND);
  const WideString text = ToWide(found->text) + TEXT("\r\n");
  if (allocates) {
    const auto own = static_cast<LPWSTR>(LocalAlloc(0, (text.size() + 1) * sizeof(WCHAR)));
    if (own == nullptr) return 0;
    *reinterpret_cast<LPWSTR*>(buffer) = own;
    buffer = own;
  } else if (buffer == nullptr || size <= text.size()) {
    return Fail(ERROR_INSUFFICIENT_BUFFER);
  }
  std::copy_n(text.c_str(), text.size() + 1, buffer);
  return static_cast<DWORD>(text.size());
}
