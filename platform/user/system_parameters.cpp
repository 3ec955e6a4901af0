#include <cstring>

#include "platform/control/facts.h"
#include "platform/kernel/api_call.h"
#include "platform/kernel/machine.h"
#include "platform/kernel/system_version.h"
#include "platform/kernel/text.h"

namespace platform {
namespace {

// Without the last member, which Windows Vista added.
constexpr UINT kOldSize = offsetof(NONCLIENTMETRICSW, iPaddedBorderWidth);

bool IsVista() {
  return IsAvailable({Nt(6, 0), kNever9x});
}

LOGFONTW MessageFont() {
  const bool vista = IsVista();
  LOGFONTW font = {};
  font.lfHeight = static_cast<LONG>(FactNumber(facts::kMessageFontHeight, vista ? -12 : -11));
  font.lfWeight = FW_NORMAL;
  font.lfCharSet = DEFAULT_CHARSET;
  const WideString face = ToWide(Fact(facts::kMessageFontFace, vista ? "Segoe UI" : "Tahoma"));
  face.copy(font.lfFaceName, LF_FACESIZE - 1);
  return font;
}

NONCLIENTMETRICSW NonClientMetrics() {
  NONCLIENTMETRICSW metrics = {};
  metrics.iBorderWidth = 1;
  metrics.iScrollWidth = metrics.iScrollHeight = GetSystemMetrics(SM_CXVSCROLL);
  metrics.iCaptionWidth = metrics.iCaptionHeight = GetSystemMetrics(SM_CYCAPTION);
  metrics.iSmCaptionWidth = metrics.iSmCaptionHeight = metrics.iCaptionHeight;
  metrics.iMenuWidth = metrics.iMenuHeight = metrics.iCaptionHeight;
  metrics.lfCaptionFont = metrics.lfSmCaptionFont = metrics.lfMenuFont = metrics.lfStatusFont =
      metrics.lfMessageFont = MessageFont();
  return metrics;
}

}  // namespace
}  // namespace platform

using namespace platform;

BOOL WINAPI SystemParametersInfoW(UINT action, UINT size, PVOID parameter, UINT update) {
  KV_API(SystemParametersInfoW, ERROR_INVALID_PARAMETER, FALSE, action, size, parameter, update);
  if (action != SPI_GETNONCLIENTMETRICS || update != 0) {
    SetLastError(ERROR_CALL_NOT_IMPLEMENTED);
    return FALSE;
  }
  auto* const metrics = static_cast<NONCLIENTMETRICSW*>(parameter);
  const UINT wanted = metrics->cbSize;
  if (wanted != kOldSize && (wanted != sizeof(NONCLIENTMETRICSW) || !IsVista())) {
    SetLastError(ERROR_INVALID_PARAMETER);
    return FALSE;
  }
  NONCLIENTMETRICSW result = NonClientMetrics();
  result.cbSize = wanted;
  std::memcpy(metrics, &result, wanted);
  return TRUE;
}
