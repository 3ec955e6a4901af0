#include "tests/support/module_test.h"

#include "runtime/core/find_proc.h"

namespace kv::test {

void ModuleTest::SetUp() {
  MachineTest::SetUp();
  PrepareMachine();
}

void ModuleTest::PrepareMachine() {
  // The spooler and this process have one word size.
  platform::SetFact(platform::facts::kArchitecture, sizeof(void*) == 8 ? "x64" : "x86");
  platform::SetFact(platform::facts::kUserIsElevated, "1");
  InstallModule(kFolder);
}

void ModuleTest::InstallModule(std::basic_string_view<WCHAR> folder,
                               std::basic_string_view<WCHAR> name) {
  const std::filesystem::path bin = TestDirectory();
  const std::filesystem::path target = platform::HostPath(folder);
  std::filesystem::create_directories(target);
  constexpr auto kReplace = std::filesystem::copy_options::overwrite_existing;
  std::filesystem::copy_file(bin / "kvmon8.dll", target / std::filesystem::path(name), kReplace);
  std::filesystem::copy_file(bin / "kvres832.dll", target / "kvres832.dll", kReplace);
}

void ModuleTest::WriteResources(std::basic_string_view<WCHAR> folder,
                                const platform::PeWriter& library) {
  library.WriteTo(platform::HostPath(folder) / "kvres832.dll");
}

platform::PeWriter ModuleTest::ResourceLibrary() {
  platform::PeWriter library;
  platform::VersionResource version;
  version.file_version = version.product_version = {8, 27, 0, 0};
  version.translations = {{0x0409, 1200}};
  library.AddVersion(version);
  return library;
}

LoadedModule::LoadedModule(LPCWSTR path)
    : module_(LoadLibraryW(path)), main_(FindProc<DllMainFunction>(module_, "DllMain")) {}

LoadedModule::~LoadedModule() {
  if (module_ != nullptr) FreeLibrary(module_);
}

BOOL LoadedModule::Main(DWORD reason) const {
  return main_(module_, reason, nullptr);
}

const MONITOR& LoadedModule::Operations() const {
  return FindProc<LPMONITOREX(WINAPI*)(LPWSTR)>(module_, "InitializePrintMonitor")(nullptr)
      ->Monitor;
}

PORT_INFO_2W* LoadedModule::Describe(BYTE* buffer, DWORD size) const {
  DWORD needed = 0, returned = 0;
  Operations().pfnEnumPorts(nullptr, 2, buffer, size, &needed, &returned);
  return reinterpret_cast<PORT_INFO_2W*>(buffer);
}

std::basic_string<WCHAR> LoadedModule::PortName() const {
  alignas(void*) BYTE buffer[1024];
  return Describe(buffer, sizeof(buffer))->pPortName;
}

std::basic_string<WCHAR> LoadedModule::ProductName() const {
  alignas(void*) BYTE buffer[1024];
  return Describe(buffer, sizeof(buffer))->pMonitorName;
}

}  // namespace kv::test
