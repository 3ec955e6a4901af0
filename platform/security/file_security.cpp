// Rights to files: the host's permissions are the machine's.
#include <aclapi.h>
#include <errno.h>
#include <sys/stat.h>

#include "platform/kernel/api_call.h"
#include "platform/kernel/host_error.h"
#include "platform/kernel/path.h"

namespace platform {
namespace {

DWORD GrantEverything(const ResolvedPath& path) {
  if (!path.Exists()) return path.error;
  struct stat status;
  if (stat(path.host.c_str(), &status) != 0) return ErrorOfErrno(errno);
  // The owner's right to write carries an attribute of the file and stays as it is.
  const mode_t granted = S_ISDIR(status.st_mode) ? 0777 : 0666 & ~S_IWUSR;
  const mode_t mode = (status.st_mode & 07777) | granted;
  return chmod(path.host.c_str(), mode) == 0 ? ERROR_SUCCESS : ErrorOfErrno(errno);
}

}  // namespace
}  // namespace platform

using namespace platform;

DWORD WINAPI SetNamedSecurityInfoW(LPWSTR name, SE_OBJECT_TYPE type, SECURITY_INFORMATION parts,
                                   PSID owner, PSID group, PACL dacl, PACL sacl) {
  KV_API_STATUS(SetNamedSecurityInfoW, ERROR_ACCESS_DENIED, name, type, parts, owner, group, dacl,
                sacl);
  const bool has_lists = owner != nullptr || group != nullptr || dacl != nullptr || sacl != nullptr;
  if (type != SE_FILE_OBJECT || parts != DACL_SECURITY_INFORMATION || has_lists) {
    return ERROR_CALL_NOT_IMPLEMENTED;
  }
  return GrantEverything(ResolvePath(View(name)));
}
