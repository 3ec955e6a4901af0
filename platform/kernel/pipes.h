// Message pipes with names. Each instance listens on a stream socket of the host below the
// machine's "objects" directory; messages travel with their length before them.
#pragma once

#include <atomic>

#include "platform/kernel/files.h"
#include "platform/kernel/shared_object.h"

namespace platform {

// Where a pipe's processes meet.
class PipePlace {
 public:
  static constexpr uint32_t kMostInstances = 255;

  // ERROR_SUCCESS for "\\.\pipe\NAME", also with this computer's own name; ERROR_BAD_NETPATH for
  // other computers, ERROR_INVALID_NAME for anything else. Case does not matter.
  static DWORD Find(WideView name, PipePlace& place);
  static bool IsPipeName(WideView path);

  // What the servers share: the number of instances allowed, and behind it the number of
  // disconnections of each instance and the default time-out (milliseconds).
  const std::filesystem::path& object() const { return object_; }
  std::filesystem::path socket(uint32_t instance) const;
  // Whether a server has an instance, and whether one waits for a client.
  bool Exists() const;
  bool HasFreeInstance() const;

 private:
  std::filesystem::path object_;
  std::string socket_stem_;
};

// One end of a connection.
class PipeEnd : public ByteStream {
 public:
  ~PipeEnd() override;
  DWORD Read(void* buffer, DWORD size, DWORD& done) override;
  DWORD Write(const void* data, DWORD size, DWORD& done) override;
  // Waits until the other end has read everything.
  DWORD Flush();
  void SetReadMode(bool messages) { reads_messages_ = messages; }

 protected:
  // The error when there is no connection to use.
  virtual DWORD Check() = 0;
  // The error when the other end has gone, given the usual one.
  virtual DWORD Lost(DWORD error) const { return error; }
  void Adopt(int connection);
  void Drop();
  int connection() const { return connection_; }

 private:
  DWORD Receive(void* buffer, size_t size);

  int connection_ = -1;
  bool reads_messages_ = false;
  bool in_message_ = false;
  uint32_t left_ = 0;  // bytes of the message that is being read
};

// A server's instance.
class PipeServer : public PipeEnd {
 public:
  static DWORD Create(const PipePlace& place, uint32_t most_instances, DWORD default_timeout,
                      bool read_messages, std::shared_ptr<PipeServer>& server);
  // The time-out (milliseconds) that the first instance was made with; false when there is none.
  static bool ReadDefaultTimeout(const PipePlace& place, DWORD& timeout);
  ~PipeServer() override;

  // Waits for a client; the error code of ConnectNamedPipe.
  DWORD Connect();
  DWORD Disconnect();

 private:
  DWORD Check() override;
  DWORD TakeInstance(uint32_t most_instances);
  DWORD Listen();
  bool Accept();
  void StopListening();

  PipePlace place_;
  std::shared_ptr<SharedObject> object_;
  uint32_t instance_ = 0;
  int instance_lock_ = -1;
  int listener_ = -1;
};

// A client's end.
class PipeClient : public PipeEnd {
 public:
  static DWORD Open(WideView name, std::shared_ptr<PipeClient>& client);
  PipeClient();
  ~PipeClient() override;

 private:
  DWORD Check() override;
  DWORD Lost(DWORD error) const override;

  std::unique_ptr<class PipeState> state_;
  const std::atomic<uint32_t>* disconnections_ = nullptr;
  uint32_t disconnections_before_ = 0;
};

}  // namespace platform
