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
// "environment.NAME", the name in capitals, is an environment variable of every process, beside the
// ones that the system sets itself.
inline constexpr char kEnvironmentPrefix[] = "environment.";
// How many bytes each process may still add to the machine's files; no limit when it is not set.
inline constexpr char kDiskFreeBytes[] = "disk.free_bytes";
inline constexpr char kComputerName[] = "computer.name";  // WORKSTATION
// The SID of the computer's account database.
inline constexpr char kComputerSid[] = "computer.sid";  // S-1-5-21-1004336348-1177238915-682003330
// "module.wtsapi32" = 0 takes a system library away, 1 adds it whatever the Windows version.
inline constexpr char kModulePrefix[] = "module.";

// The user of the calling process. A SID of S-1-5-18 makes it the system itself.
inline constexpr char kUserName[] = "user.name";                      // Ada
inline constexpr char kUserSid[] = "user.sid";                        // S-1-5-21-…-1001
inline constexpr char kUserIsAdministrator[] = "user.administrator";  // 1
inline constexpr char kUserIsElevated[] = "user.elevated";            // 0
// Relative id of the integrity label; otherwise by elevation.
inline constexpr char kUserIntegrity[] = "user.integrity";
// SIDs of further groups, and privileges given ("SeTcbPrivilege") or taken
// ("-SeShutdownPrivilege"), separated by commas.
inline constexpr char kUserGroups[] = "user.groups";
inline constexpr char kUserPrivileges[] = "user.privileges";

// What the user answers when a program asks to be run with the powers of an administrator: 1
// agrees. Who is no administrator needs somebody else's password and refuses otherwise.
inline constexpr char kElevationConsent[] = "elevation.consent";  // 1 for administrators

// Further accounts of the computer, separated by commas: "Bob:1002" with a relative id or a whole
// SID, "Staff:1100:group". What the facts "user.administrator", "user.elevated" and so on say of
// the process's user, "account.Bob.administrator" says of Bob, who is no administrator otherwise.
inline constexpr char kAccounts[] = "accounts";
inline constexpr char kAccountPrefix[] = "account.";

// The terminal sessions in the order in which the system lists them: "0,1". Otherwise the system's
// own session 0 and the process's session 1 at the console, before 6.0 one session 0 at the
// console.
inline constexpr char kSessions[] = "sessions";
// "session.1.station" Console, "session.1.state" a WTS_CONNECTSTATE_CLASS, "session.1.user",
// "session.1.client", "session.1.protocol" (0 console, 2 RDP), "session.1.program", and
// "session.1.answer", the button with which its user ends a message.
inline constexpr char kSessionPrefix[] = "session.";
// The session of the calling process, and the one at the console.
inline constexpr char kProcessSession[] = "process.session";  // 1; 0 before 6.0
inline constexpr char kConsoleSession[] = "console.session";  // 1; 0 before 6.0
// Further processes by id: "400,812", each with "process.400.name", "process.400.user",
// "process.400.session" and "process.400.elevated". "explorer.exe" is its session's desktop shell.
inline constexpr char kProcesses[] = "processes";
inline constexpr char kProcessPrefix[] = "process.";
// Whether a terminal server is in install mode.
inline constexpr char kInstallMode[] = "terminal.install_mode";  // 0

// "service.Spooler.start_time" and "…stop_time": how long the service is pending, in milliseconds;
// "never": it stays so. "…start_error" and "…stop_error": the error with which it refuses.
inline constexpr char kServicePrefix[] = "service.";

// What printer drivers can do: "driver.Generic / Text Only.copies" and so on. "fields" is the mask
// of DM_ flags that the driver minds and "extra" the size of its private data in bytes; "copies"
// (1), "duplex" (0), "color" (1), "truetype" (0) and "escapes" ("4115,4097", none) are what it
// offers. "bins" lists paper bins ("15:Automatic,1:Upper"), "margins" what of the paper it cannot
// print on
// ("4233,4233,4233,4233": left, top, right, bottom in micrometres), "papers" forms beyond the
// common ones ("300:Banner:210000x1000000"), "version" (0x600) is what the driver says of itself,
// and "technology" how it answers the escape GETTECHNOLOGY.
inline constexpr char kDriverPrefix[] = "driver.";
// What other machines of the network share: "server.ALPHA.printers" lists the printers of a
// server's spooler with their shares ("HP Laser:laser,Ink:ink"), "server.ALPHA.resources" what a
// look at the network finds there ("print:laser:HP Laser,disk:public:Files,container:box:").
inline constexpr char kServerPrefix[] = "server.";

// Locale identifiers in decimal or with 0x.
inline constexpr char kSystemLocale[] = "locale.system";  // 0x0409
inline constexpr char kUserLocale[] = "locale.user";      // 0x0409
// The ANSI code page.
inline constexpr char kAnsiCodePage[] = "locale.ansi_code_page";  // that of the system locale
// The code page of consoles and of the shells that run batch scripts.
inline constexpr char kOemCodePage[] = "locale.oem_code_page";  // that of the ANSI code page
// The font of dialogs.
inline constexpr char kGuiFontFace[] = "font.gui.face";        // MS Shell Dlg
inline constexpr char kGuiFontHeight[] = "font.gui.height";    // -11
inline constexpr char kGuiFontCharset[] = "font.gui.charset";  // that of the ANSI code page
// Pixels of the screen per inch, across and down.
inline constexpr char kScreenDpi[] = "screen.dpi";  // 96
// The font of messages.
inline constexpr char kMessageFontFace[] = "font.message.face";      // Segoe UI; before 6.0 Tahoma
inline constexpr char kMessageFontHeight[] = "font.message.height";  // -12; before 6.0 -11
// System metrics by number: "metric.42" = 0 and so on. Otherwise those of a screen of 1920 by 1080
// at 96 dpi; the double-byte and Middle East ones follow the ANSI code page.
inline constexpr char kMetricPrefix[] = "metric.";

}  // namespace platform::facts
