// The names of the machine's facts, with their values when nobody has said anything.
#pragma once

namespace platform::facts {

// The processor of the installed system: "x86" or "x64". A 32-bit process on "x64" runs under
// WOW64.
inline constexpr char kArchitecture[] = "windows.architecture";  // x64

// The version record. The platform is 2 for the NT family, 1 for Windows 95, 98 and Me.
inline constexpr char kPlatformId[] = "windows.platform";                // 2
inline constexpr char kMajor[] = "windows.major";                        // 10
inline constexpr char kMinor[] = "windows.minor";                        // 0
inline constexpr char kBuild[] = "windows.build";                        // 19045
inline constexpr char kProductType[] = "windows.product_type";           // 1 (workstation)
inline constexpr char kSuiteMask[] = "windows.suite_mask";               // 0x100
inline constexpr char kServicePackMajor[] = "windows.service_pack";      // 0
inline constexpr char kServicePackText[] = "windows.service_pack_text";  // empty

inline constexpr char kServicePackMinor[] = "windows.service_pack_minor";  // 0
// 0 on systems that know only the plain version record.
inline constexpr char kExtendedVersion[] = "windows.extended_version";  // 1
inline constexpr char kWindowsDirectory[] = "windows.directory";        // C:\Windows
// The version of the common controls.
inline constexpr char kComctlVersion[] = "files.comctl32.version";  // 5.82
// "entry.kernel32.SetDllDirectoryW" = 0 hides a function of a system library from GetProcAddress, 1
// shows it whatever the Windows version.
inline constexpr char kEntryPrefix[] = "entry.";
// "environment.NAME", the name in capitals, is an environment variable of every process, beside the ones that the system
// sets itself.
inline constexpr char kEnvironmentPrefix[] = "environment.";
inline constexpr char kComputerName[] = "computer.name";  // WORKSTATION

// The user of the calling process.
inline constexpr char kUserName[] = "user.name";                      // Ada
inline constexpr char kUserSid[] = "user.sid";                        // S-1-5-21-…-1001
inline constexpr char kUserIsAdministrator[] = "user.administrator";  // 1
inline constexpr char kUserIsElevated[] = "user.elevated";            // 0

// Locale identifiers in decimal or with 0x.
inline constexpr char kSystemLocale[] = "locale.system";  // 0x0409
inline constexpr char kUserLocale[] = "locale.user";      // 0x0409
// The ANSI code page.
inline constexpr char kAnsiCodePage[] = "locale.ansi_code_page";  // that of the system locale
// The font of dialogs.
inline constexpr char kGuiFontFace[] = "font.gui.face";        // MS Shell Dlg
inline constexpr char kGuiFontHeight[] = "font.gui.height";    // -11
inline constexpr char kGuiFontCharset[] = "font.gui.charset";  // that of the ANSI code page
// System metrics by number: "metric.42" = 0 and so on. Otherwise those of a screen of 1920 by 1080
// at 96 dpi; the double-byte and Middle East ones follow the ANSI code page.
inline constexpr char kMetricPrefix[] = "metric.";

}  // namespace platform::facts
