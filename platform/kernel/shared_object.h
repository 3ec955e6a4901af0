// What the processes of a machine share of a kernel object with a name: a small file below the
// machine's "objects" directory, mapped into each of them.
//
// The host's locks on single bytes of the file say who uses it, so that the host forgets a process
// that dies: everybody who has the object open holds a shared lock on one byte, the owner of a
// mutex an exclusive lock on another. A file that nobody holds is no object any more; who comes
// next begins it anew.
#pragma once

#include <windows.h>

#include <atomic>
#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <mutex>

#include "platform/kernel/machine.h"
#include "platform/kernel/text.h"

namespace platform {

enum class ObjectKind : uint32_t { kMutex = 1, kEvent, kMapping, kPipe };

// The beginning of the file. All processes read and write it, 32- and 64-bit ones.
struct SharedState {
  uint32_t kind;
  std::atomic<uint32_t> value;  // the kind's own
  uint64_t size;                // bytes of content behind this state
};
static_assert(sizeof(SharedState) == 16);

class SharedObject {
 public:
  // Bytes of the file before the content.
  static constexpr size_t kStateSize = 4096;

  ~SharedObject();
  SharedObject(const SharedObject&) = delete;
  SharedObject& operator=(const SharedObject&) = delete;

  SharedState& state() const { return *state_; }
  // Memory behind the state that is the kind's own as well; zero in a new object.
  std::atomic<uint32_t>* more_state() const;
  int descriptor() const { return descriptor_; }

  // Ownership, which the host takes back when the process dies. False while another process has it.
  bool TryOwn();
  void Disown();

 private:
  friend class SharedObjects;
  SharedObject(std::filesystem::path path, int descriptor, SharedState* state);
  void Close();

  const std::filesystem::path path_;
  int descriptor_;
  SharedState* const state_;
};

// How to come by an object.
struct ObjectRequest {
  std::filesystem::path path;
  ObjectKind kind;
  bool create = false;
  uint64_t size = 0;   // of the content of a new object
  uint32_t value = 0;  // of a new object
};

// The shared objects that this process has open: one instance an object, whatever the number of
// handles.
class SharedObjects {
 public:
  explicit SharedObjects(Machine& machine);
  // The process gives up all of them; a process forked off does so with those of its parent.
  ~SharedObjects();

  // ERROR_FILE_NOT_FOUND when there is none and it is not to be made; ERROR_INVALID_HANDLE when the
  // name is another kind's. `existed` tells whether the object was there before.
  DWORD Open(const ObjectRequest& request, std::shared_ptr<SharedObject>& object, bool& existed);
  // Whether some process has the object at `path` open.
  static bool IsInUse(const std::filesystem::path& path);

  const std::filesystem::path& directory() const { return directory_; }

 private:
  DWORD OpenFile(const ObjectRequest& request, std::shared_ptr<SharedObject>& object,
                 bool& existed);

  const std::filesystem::path directory_;
  std::mutex mutex_;
  std::map<std::filesystem::path, std::weak_ptr<SharedObject>> open_;
  struct WakeWord* wake_word_ = nullptr;
};

// The file of the object with that name, as programs write it ("Local\NAME"); the error code.
DWORD ObjectPath(WideView name, std::filesystem::path& path);
// `text` as a file name of the host.
std::string FileNameFor(WideView text);
// 16 digits that differ for different texts.
std::string HashText(std::string_view text);

}  // namespace platform
