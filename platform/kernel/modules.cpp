#include "platform/kernel/modules.h"

#include <dlfcn.h>
#include <link.h>
#include <unistd.h>

#include <condition_variable>
#include <list>
#include <mutex>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "platform/kernel/api_call.h"
#include "platform/kernel/buffer.h"
#include "platform/kernel/elf_section.h"
#include "platform/kernel/files.h"
#include "platform/kernel/installation.h"
#include "platform/kernel/path.h"
#include "platform/kernel/system_modules.h"

namespace platform {
namespace {

constexpr size_t kLargestImage = 256 << 20;
constexpr const char* kResourceSection = ".kvrsrc";

using DllMainFunction = BOOL(WINAPI*)(HINSTANCE, DWORD, LPVOID);

// The directory that SetDllDirectoryW sets on this machine.
class DllDirectory {
 public:
  explicit DllDirectory(Machine&) {}

  // Whether one is set (else the current directory is searched), and which.
  std::pair<bool, WideString> Get() const {
    std::lock_guard lock(mutex_);
    return {is_set_, path_};
  }
  void Set(bool is_set, WideView path) {
    std::lock_guard lock(mutex_);
    is_set_ = is_set;
    path_ = path;
  }

 private:
  mutable std::mutex mutex_;
  bool is_set_ = false;
  WideString path_;
};

struct Module {
  enum class State { kLoading, kReady, kUnloading };

  WideString path;
  State state = State::kLoading;
  // Who loads or unloads it; calls of that thread for the module do not wait for themselves.
  std::thread::id worker;
  int references = 0;
  std::vector<std::unique_ptr<CountedResource>> counted;
  const SystemModule* system = nullptr;
  void* library = nullptr;  // of dlopen
  std::shared_ptr<const PeImage> resources;
  SharedDescriptor file;  // keeps others from writing and deleting it

  HMODULE Handle() { return reinterpret_cast<HMODULE>(this); }
};

// Code of modules runs without the lock: their initialisers load other modules.
class Loader {
 public:
  HMODULE Load(WideView name, DWORD& error);
  HMODULE LoadImage(WideView path, const std::filesystem::path& image, DWORD& error);
  DWORD Free(HMODULE handle);
  HMODULE Find(WideView name);
  HMODULE Program() { return program_.Handle(); }
  // Empty when the handle is no module.
  WideString PathOf(HMODULE handle);
  FARPROC FindFunction(HMODULE handle, const char* name, DWORD& error);
  std::shared_ptr<const PeImage> Resources(HMODULE handle, DWORD& error);

 private:
  struct Location {
    DWORD error = ERROR_MOD_NOT_FOUND;
    WideString path;
    std::filesystem::path host;
    const SystemModule* system = nullptr;
  };

  static Location Locate(WideView name);
  static Location LocateAt(const WideString& path);
  static DWORD Open(Module& module, const std::filesystem::path& host);
  static DWORD OpenHostModule(Module& module, const std::filesystem::path& host);
  static BOOL CallDllMain(Module& module, DWORD reason);
  static void Close(Module& module);

  HMODULE LoadFrom(const Location& location, DWORD& error);
  Module* FindLoaded(WideView name);
  Module* Of(HMODULE handle);
  HMODULE Reference(std::unique_lock<std::mutex>& lock, Module& module, DWORD& error);
  Module* LoadedWithProcess(WideView base_name);
  void Forget(Module& module);

  std::mutex mutex_;
  std::condition_variable changed_;
  std::list<Module> modules_;
  Module program_;
  bool program_read_ = false;
};

Loader& loader() {
  static Loader* instance = new Loader;
  return *instance;
}

std::string ProgramFile() {
  char path[4096];
  const ssize_t length = readlink("/proc/self/exe", path, sizeof path);
  return std::string(path, length > 0 ? static_cast<size_t>(length) : 0);
}

bool IsBareName(WideView name) {
  return name.find_first_of(TEXT("\\/:")) == WideView::npos;
}

// ".dll" is understood where a name has no extension; a point at the end stands for none.
WideString WithExtension(WideView name) {
  WideString result(name);
  const WideView base = BaseName(name);
  if (base.ends_with('.')) {
    result.pop_back();
  } else if (base.find('.') == WideView::npos) {
    result += TEXT(".dll");
  }
  return result;
}

DWORD ErrorOfDlopen() {
  const char* text = dlerror();
  const bool unresolved =
      text != nullptr && std::string_view(text).find("undefined symbol") != std::string_view::npos;
  return unresolved ? ERROR_PROC_NOT_FOUND : ERROR_MOD_NOT_FOUND;
}

// A symbol of the library itself, not of what it depends on.
void* OwnSymbol(void* library, const char* name) {
  link_map* own = nullptr;
  if (dlinfo(library, RTLD_DI_LINKMAP, &own) != 0) return nullptr;
  void* address = dlsym(library, name);
  if (address == nullptr) return nullptr;
  Dl_info info;
  link_map* owner = nullptr;
  const bool known =
      dladdr1(address, &info, reinterpret_cast<void**>(&owner), RTLD_DL_LINKMAP) != 0;
  return known && owner == own ? address : nullptr;
}

Loader::Location Loader::LocateAt(const WideString& path) {
  Location location;
  const ResolvedPath resolved = ResolvePath(path);
  if (!resolved.Exists() || resolved.is_device) return location;
  if (std::filesystem::is_directory(resolved.host)) {
    location.error = ERROR_ACCESS_DENIED;
    return location;
  }
  location.error = ERROR_SUCCESS;
  location.path = resolved.windows;
  location.host = resolved.host;
  const WideView directory = DirectoryOf(location.path);
  if (EqualNoCase(directory, SystemDirectory())) {
    location.system = FindSystemModule(BaseName(location.path));
  }
  return location;
}

Loader::Location Loader::Locate(WideView name) {
  const WideString full = WithExtension(name);
  if (!IsBareName(name)) return LocateAt(full);
  if (FindSystemModule(full) != nullptr) return LocateAt(SystemDirectory() + TEXT("\\") + full);
  std::vector<WideString> directories = {WideString(DirectoryOf(WindowsPath(ProgramFile())))};
  const auto [is_set, dll_directory] = Machine::Current().Part<DllDirectory>().Get();
  if (!is_set) {
    directories.push_back(Machine::Current().Part<CurrentDirectory>().Get());
  } else if (!dll_directory.empty()) {
    directories.push_back(dll_directory);
  }
  directories.push_back(SystemDirectory());
  directories.push_back(WindowsDirectory());
  for (const WideString& directory : directories) {
    Location location = LocateAt(directory + TEXT("\\") + full);
    if (location.error == ERROR_SUCCESS) return location;
  }
  return {};
}

// With the lock held. A bare name also finds a module that was loaded from elsewhere.
Module* Loader::FindLoaded(WideView name) {
  for (Module& module : modules_) {
    if (EqualNoCase(IsBareName(name) ? BaseName(module.path) : WideView(module.path), name)) {
      return &module;
    }
  }
  return nullptr;
}

Module* Loader::Of(HMODULE handle) {
  if (handle == nullptr || handle == program_.Handle()) {
    if (!std::exchange(program_read_, true)) {
      if (program_.file.Open(ProgramFile(), 0, 0) == ERROR_SUCCESS) {
        ReadResources(program_.file.get(), program_.resources);
      }
    }
    return &program_;
  }
  for (Module& module : modules_) {
    if (module.Handle() == handle) return &module;
  }
  return nullptr;
}

// One more user of a module that is loaded or on its way.
HMODULE Loader::Reference(std::unique_lock<std::mutex>& lock, Module& module, DWORD& error) {
  if (module.state != Module::State::kReady && module.worker != std::this_thread::get_id()) {
    changed_.wait(lock);
    return nullptr;
  }
  if (module.state == Module::State::kUnloading) {
    error = ERROR_DLL_INIT_FAILED;
    return nullptr;
  }
  ++module.references;
  module.counted.push_back(std::make_unique<CountedResource>(Resource::kModule));
  return module.Handle();
}

HMODULE Loader::Load(WideView name, DWORD& error) {
  if (name.empty()) {
    error = ERROR_MOD_NOT_FOUND;
    return nullptr;
  }
  for (;;) {
    {
      std::unique_lock lock(mutex_);
      Module* loaded = IsBareName(name) ? FindLoaded(WithExtension(name)) : nullptr;
      if (loaded != nullptr) {
        error = ERROR_SUCCESS;
        const HMODULE handle = Reference(lock, *loaded, error);
        if (handle != nullptr || error != ERROR_SUCCESS) return handle;
        continue;
      }
    }
    const Location location = Locate(name);
    error = location.error;
    return error == ERROR_SUCCESS ? LoadFrom(location, error) : nullptr;
  }
}

HMODULE Loader::LoadImage(WideView path, const std::filesystem::path& image, DWORD& error) {
  Location location;
  location.path = path;
  location.host = image;
  return LoadFrom(location, error);
}

HMODULE Loader::LoadFrom(const Location& location, DWORD& error) {
  for (;;) {
    std::unique_lock lock(mutex_);
    error = ERROR_SUCCESS;
    if (Module* loaded = FindLoaded(location.path)) {
      const HMODULE handle = Reference(lock, *loaded, error);
      if (handle != nullptr || error != ERROR_SUCCESS) return handle;
      continue;
    }
    Module& module = modules_.emplace_back();
    module.path = location.path;
    module.system = location.system;
    module.worker = std::this_thread::get_id();
    Reference(lock, module, error);
    lock.unlock();

    error = Open(module, location.host);
    lock.lock();
    if (error == ERROR_SUCCESS) {
      module.state = Module::State::kReady;
      changed_.notify_all();
      return module.Handle();
    }
    Forget(module);
    return nullptr;
  }
}

DWORD Loader::Open(Module& module, const std::filesystem::path& host) {
  // The system's libraries stand for themselves; a machine may replace their files at any time.
  const bool is_system = module.system != nullptr;
  DWORD error = module.file.Open(host, is_system ? 0 : FILE_READ_DATA | SharedDescriptor::kImage,
                                 is_system ? FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE
                                           : FILE_SHARE_READ | FILE_SHARE_DELETE);
  if (error != ERROR_SUCCESS) return error;
  const ImageFormat format = FormatOf(module.file.get());
  if (format == ImageFormat::kOther) return ERROR_BAD_EXE_FORMAT;
  error = ReadResources(module.file.get(), module.resources);
  if (is_system) return ERROR_SUCCESS;
  if (format == ImageFormat::kElf) return OpenHostModule(module, host);
  if (error != ERROR_SUCCESS) return error;
  const bool usable =
      module.resources->machine() == pe::kOwnMachine && !module.resources->HasEntryPoint();
  return usable ? ERROR_SUCCESS : ERROR_BAD_EXE_FORMAT;
}

DWORD Loader::OpenHostModule(Module& module, const std::filesystem::path& host) {
  if (!IsOwnElf(module.file.get())) return ERROR_BAD_EXE_FORMAT;
  {
    ProductCallback initialisers;
    module.library = dlopen(host.c_str(), RTLD_NOW | RTLD_LOCAL);
  }
  if (module.library == nullptr) return ErrorOfDlopen();
  if (CallDllMain(module, DLL_PROCESS_ATTACH)) return ERROR_SUCCESS;
  CallDllMain(module, DLL_PROCESS_DETACH);
  Close(module);
  return ERROR_DLL_INIT_FAILED;
}

BOOL Loader::CallDllMain(Module& module, DWORD reason) {
  void* address = OwnSymbol(module.library, "DllMain");
  if (address == nullptr) return TRUE;
  const auto dll_main = reinterpret_cast<DllMainFunction>(reinterpret_cast<UINT_PTR>(address));
  ProductCallback callback;
  return dll_main(module.Handle(), reason, nullptr);
}

void Loader::Close(Module& module) {
  ProductCallback finalisers;
  dlclose(module.library);
  module.library = nullptr;
}

void Loader::Forget(Module& module) {
  std::erase_if(modules_, [&](const Module& other) { return &other == &module; });
  changed_.notify_all();
}

DWORD Loader::Free(HMODULE handle) {
  std::unique_lock lock(mutex_);
  Module* module = Of(handle);
  if (module == nullptr || handle == nullptr) return ERROR_MOD_NOT_FOUND;
  // The program, and what every process has from its start, stay.
  if (module->references == 0) return ERROR_SUCCESS;
  module->counted.pop_back();
  const bool used_elsewhere = --module->references > 0 || module->state != Module::State::kReady;
  const bool stays = module->system != nullptr && module->system->always_loaded;
  if (used_elsewhere || stays) return ERROR_SUCCESS;
  if (module->library != nullptr) {
    module->state = Module::State::kUnloading;
    module->worker = std::this_thread::get_id();
    lock.unlock();
    CallDllMain(*module, DLL_PROCESS_DETACH);
    Close(*module);
    lock.lock();
  }
  Forget(*module);
  return ERROR_SUCCESS;
}

// With the lock held. The libraries that no process is without are there without being loaded.
Module* Loader::LoadedWithProcess(WideView base_name) {
  const SystemModule* system = FindSystemModule(base_name);
  if (system == nullptr || !system->always_loaded) return nullptr;
  Module& module = modules_.emplace_back();
  module.path = SystemDirectory() + TEXT("\\") + ToWide(system->file_name);
  module.system = system;
  module.state = Module::State::kReady;
  return &module;
}

HMODULE Loader::Find(WideView name) {
  std::lock_guard lock(mutex_);
  const WideString full = IsBareName(name) ? WithExtension(name) : FullPath(WithExtension(name));
  Module* module = FindLoaded(full);
  if (module == nullptr && IsBareName(name)) module = LoadedWithProcess(full);
  return module == nullptr ? nullptr : module->Handle();
}

WideString Loader::PathOf(HMODULE handle) {
  std::lock_guard lock(mutex_);
  Module* module = Of(handle);
  if (module == nullptr) return {};
  if (module == &program_) return WindowsPath(ProgramFile());
  // The system's libraries outlive a change of the machine.
  if (module->system == nullptr) return module->path;
  return SystemDirectory() + TEXT("\\") + ToWide(module->system->file_name);
}

FARPROC Loader::FindFunction(HMODULE handle, const char* name, DWORD& error) {
  const SystemModule* system = nullptr;
  void* library = nullptr;
  {
    std::lock_guard lock(mutex_);
    Module* module = Of(handle);
    error = module == nullptr ? ERROR_MOD_NOT_FOUND : ERROR_PROC_NOT_FOUND;
    if (module == nullptr) return nullptr;
    system = module->system;
    library = module->library;
  }
  if (IS_INTRESOURCE(name)) return nullptr;
  if (system != nullptr) return FindSystemFunction(*system, name);
  if (library == nullptr) return nullptr;
  return reinterpret_cast<FARPROC>(reinterpret_cast<UINT_PTR>(OwnSymbol(library, name)));
}

std::shared_ptr<const PeImage> Loader::Resources(HMODULE handle, DWORD& error) {
  std::lock_guard lock(mutex_);
  Module* module = Of(handle);
  error = module == nullptr ? ERROR_MOD_NOT_FOUND : ERROR_RESOURCE_DATA_NOT_FOUND;
  if (module == nullptr || module->resources == nullptr) return nullptr;
  if (!module->resources->HasResources()) return nullptr;
  error = ERROR_SUCCESS;
  return module->resources;
}

}  // namespace

std::shared_ptr<const PeImage> ResourcesOf(HMODULE module, DWORD& error) {
  return loader().Resources(module, error);
}

WideString ModulePath(HMODULE module) {
  return loader().PathOf(module);
}

HMODULE LoadModuleImage(WideView path, const std::filesystem::path& image) {
  DWORD error = ERROR_SUCCESS;
  const HMODULE module = loader().LoadImage(path, image, error);
  if (module == nullptr) SetLastError(error);
  return module;
}

DWORD ReadResources(int descriptor, std::shared_ptr<const PeImage>& image) {
  PeImage::Bytes bytes;
  switch (FormatOf(descriptor)) {
    case ImageFormat::kElf:
      bytes = ReadElfSection(descriptor, kResourceSection);
      break;
    case ImageFormat::kPe: {
      const DWORD error = ReadHostFile(descriptor, kLargestImage, bytes);
      if (error != ERROR_SUCCESS) return error;
      break;
    }
    case ImageFormat::kOther:
      break;
  }
  image = PeImage::Read(std::move(bytes));
  return image == nullptr ? ERROR_BAD_EXE_FORMAT : ERROR_SUCCESS;
}

}  // namespace platform

using platform::loader;
using platform::View;
using platform::WideString;

HMODULE WINAPI LoadLibraryW(LPCWSTR name) {
  KV_API(LoadLibraryW, ERROR_MOD_NOT_FOUND, nullptr, name);
  DWORD error = ERROR_SUCCESS;
  const HMODULE module = loader().Load(View(name), error);
  if (module == nullptr) SetLastError(error);
  return module;
}

BOOL WINAPI FreeLibrary(HMODULE module) {
  KV_API_NOFAIL(FreeLibrary, FALSE, module);
  const DWORD error = loader().Free(module);
  if (error == ERROR_SUCCESS) return TRUE;
  SetLastError(error);
  return FALSE;
}

HMODULE WINAPI GetModuleHandleW(LPCWSTR name) {
  KV_API(GetModuleHandleW, ERROR_MOD_NOT_FOUND, nullptr, name);
  const HMODULE module = name == nullptr ? loader().Program() : loader().Find(name);
  if (module == nullptr) SetLastError(ERROR_MOD_NOT_FOUND);
  return module;
}

DWORD WINAPI GetModuleFileNameW(HMODULE module, LPWSTR buffer, DWORD capacity) {
  KV_API(GetModuleFileNameW, ERROR_MOD_NOT_FOUND, 0, module, buffer, capacity);
  const WideString path = platform::ModulePath(module);
  if (path.empty()) {
    SetLastError(ERROR_MOD_NOT_FOUND);
    return 0;
  }
  if (capacity > path.size()) return platform::CopyOut(path, buffer, capacity);
  // A path that does not fit is cut.
  SetLastError(ERROR_INSUFFICIENT_BUFFER);
  if (capacity > 0) *std::copy_n(path.begin(), capacity - 1, buffer) = 0;
  return capacity;
}

FARPROC WINAPI GetProcAddress(HMODULE module, LPCSTR name) {
  KV_API(GetProcAddress, ERROR_PROC_NOT_FOUND, nullptr, module, name);
  DWORD error = ERROR_SUCCESS;
  const FARPROC function = loader().FindFunction(module, name, error);
  if (function == nullptr) SetLastError(error);
  return function;
}

BOOL WINAPI SetDllDirectoryW(LPCWSTR directory) {
  KV_API(SetDllDirectoryW, ERROR_NOT_ENOUGH_MEMORY, FALSE, directory);
  platform::Machine::Current().Part<platform::DllDirectory>().Set(directory != nullptr,
                                                                  View(directory));
  return TRUE;
}

DWORD WINAPI GetDllDirectoryW(DWORD capacity, LPWSTR buffer) {
  KV_API(GetDllDirectoryW, ERROR_NOT_ENOUGH_MEMORY, 0, capacity, buffer);
  const auto [is_set, path] = platform::Machine::Current().Part<platform::DllDirectory>().Get();
  return platform::CopyOut(path, buffer, capacity);
}
