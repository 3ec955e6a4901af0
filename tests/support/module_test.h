// The fixture of tests that load the module itself, as the spooler does.
#pragma once

#include <string>

#include "monitor/port_monitor.h"
#include "platform/control/pe_writer.h"
#include "tests/support/machine_test.h"

namespace kv::test {

class ModuleTest : public MachineTest {
 public:
  // What the fixture does with a new machine: an administrator's, with the module in its system
  // directory.
  static void PrepareMachine();

 protected:
  void SetUp() override;

  // Puts the module, as `name`, and the English resource library into a directory of the machine
  // ("C:\\dir").
  static void InstallModule(std::basic_string_view<WCHAR> folder,
                            std::basic_string_view<WCHAR> name = TEXT("kvmon8.dll"));
  // Replaces the resource library of that directory.
  void WriteResources(std::basic_string_view<WCHAR> folder, const platform::PeWriter& library);
  // A resource library with a version 8.27 and nothing else.
  static platform::PeWriter ResourceLibrary();

  // The module's directory in most tests.
  static constexpr WCHAR kFolder[] = TEXT("C:\\Windows\\System32");
  static constexpr WCHAR kModule[] = TEXT("C:\\Windows\\System32\\kvmon8.dll");
};

// Loads a module and gives access to what it exports.
class LoadedModule {
 public:
  explicit LoadedModule(LPCWSTR path);
  ~LoadedModule();
  LoadedModule(const LoadedModule&) = delete;
  LoadedModule& operator=(const LoadedModule&) = delete;

  explicit operator bool() const { return module_ != nullptr; }
  HMODULE handle() const { return module_; }
  BOOL Main(DWORD reason) const;
  const MONITOR& Operations() const;
  // The name of the port and of its monitor, which is the product's name.
  std::basic_string<WCHAR> PortName() const;
  std::basic_string<WCHAR> ProductName() const;

 private:
  PORT_INFO_2W* Describe(BYTE* buffer, DWORD size) const;
  using DllMainFunction = BOOL(WINAPI*)(HINSTANCE, DWORD, LPVOID);

  HMODULE module_;
  DllMainFunction main_;
};

}  // namespace kv::test
