#include "runtime/ipc/open_security_attributes.h"

#include <sddl.h>

#include "runtime/core/startup_context.h"

namespace kv {
namespace {

// Low integrity, no write up.
constexpr WCHAR kLowLabel[] = TEXT("S:(ML;;NW;;;LW)");

static_assert(sizeof(void*) != 4 || sizeof(SECURITY_DESCRIPTOR) == 20);
static_assert(sizeof(void*) != 4 || sizeof(SECURITY_ATTRIBUTES) == 12);

}  // namespace

COpenSecurityAttributes::COpenSecurityAttributes(BOOL inherit) {
  if (!BuildDescriptor()) return;
  if (startupContext.platform.ntKind >= kWindowsVista && !AddLowLabel()) return;
  attributes_.Reset(LocalAlloc(LPTR, sizeof(SECURITY_ATTRIBUTES)));
  if (!attributes_) return;
  *Get() = {sizeof(SECURITY_ATTRIBUTES), descriptor_.Get(), inherit};
}

COpenSecurityAttributes::~COpenSecurityAttributes() {
  attributes_.Reset();
  descriptor_.Reset();
  label_.Reset();
}

BOOL COpenSecurityAttributes::BuildDescriptor() {
  descriptor_.Reset(LocalAlloc(LPTR, sizeof(SECURITY_DESCRIPTOR)));
  return descriptor_ &&
         InitializeSecurityDescriptor(descriptor_.Get(), SECURITY_DESCRIPTOR_REVISION) &&
         SetSecurityDescriptorDacl(descriptor_.Get(), TRUE, nullptr, FALSE);
}

BOOL COpenSecurityAttributes::AddLowLabel() {
  PSECURITY_DESCRIPTOR label = nullptr;
  if (!ConvertStringSecurityDescriptorToSecurityDescriptorW(kLowLabel, SDDL_REVISION_1, &label,
                                                            nullptr)) {
    return FALSE;
  }
  label_.Reset(label);
  BOOL present = FALSE, defaulted = FALSE;
  PACL acl = nullptr;
  return GetSecurityDescriptorSacl(label, &present, &acl, &defaulted) &&
         SetSecurityDescriptorSacl(descriptor_.Get(), present, acl, defaulted);
}

}  // namespace kv
