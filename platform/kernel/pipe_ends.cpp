// Messages between the ends of a pipe.
#include <errno.h>
#include <linux/sockios.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <utility>

#include "platform/kernel/clock.h"
#include "platform/kernel/pipes.h"

namespace platform {
namespace {

constexpr int kFlushPoll = 1;  // milliseconds

// Threads of this process wait on the virtual clock, which must know that something has happened.
void TellWaiters() {
  if (ClockIsVirtual()) WakeWaiters();
}

bool IsReady(int descriptor, short events, int milliseconds) {
  pollfd waited = {descriptor, events, 0};
  return poll(&waited, 1, milliseconds) > 0;
}

void WaitFor(int descriptor, short events) {
  if (ClockIsVirtual()) {
    WaitOnClock(kNever, [=] { return IsReady(descriptor, events, 0); });
  } else {
    IsReady(descriptor, events, -1);
  }
}

bool IsGone(int descriptor) {
  pollfd waited = {descriptor, 0, 0};
  return poll(&waited, 1, 0) > 0 && (waited.revents & (POLLHUP | POLLERR)) != 0;
}

bool AllRead(int descriptor) {
  int unread = 0;
  return ioctl(descriptor, SIOCOUTQ, &unread) != 0 || unread == 0 || IsGone(descriptor);
}

// Sends everything; false when the other end has gone.
bool SendAll(int descriptor, const void* data, size_t size, int flags) {
  const char* next = static_cast<const char*>(data);
  while (size > 0) {
    const ssize_t sent = send(descriptor, next, size, MSG_NOSIGNAL | MSG_DONTWAIT | flags);
    if (sent < 0 && errno == EINTR) continue;
    if (sent < 0 && errno != EAGAIN) return false;
    if (sent < 0) {
      WaitFor(descriptor, POLLOUT);
      continue;
    }
    TellWaiters();
    next += sent;
    size -= static_cast<size_t>(sent);
  }
  return true;
}

}  // namespace

PipeEnd::~PipeEnd() {
  Drop();
}

void PipeEnd::Adopt(int connection) {
  connection_ = connection;
  in_message_ = false;
  left_ = 0;
}

void PipeEnd::Drop() {
  if (connection_ < 0) return;
  close(std::exchange(connection_, -1));
  TellWaiters();
}

DWORD PipeEnd::Receive(void* buffer, size_t size) {
  char* next = static_cast<char*>(buffer);
  while (size > 0) {
    const ssize_t got = recv(connection_, next, size, MSG_DONTWAIT);
    if (got < 0 && errno == EINTR) continue;
    if (got < 0 && errno == EAGAIN) {
      WaitFor(connection_, POLLIN);
      continue;
    }
    if (got < 0 && errno == EFAULT) return ERROR_NOACCESS;
    if (got <= 0) return Lost(ERROR_BROKEN_PIPE);
    TellWaiters();
    next += got;
    size -= static_cast<size_t>(got);
  }
  return ERROR_SUCCESS;
}

DWORD PipeEnd::Read(void* buffer, DWORD size, DWORD& done) {
  done = 0;
  DWORD error = Check();
  if (error != ERROR_SUCCESS) return error;
  if (!in_message_) {
    error = Receive(&left_, sizeof left_);
    if (error != ERROR_SUCCESS) return error;
    in_message_ = true;
  }
  const uint32_t part = std::min<uint32_t>(size, left_);
  error = Receive(buffer, part);
  if (error != ERROR_SUCCESS) return error;
  done = part;
  left_ -= part;
  in_message_ = left_ != 0;
  return in_message_ && reads_messages_ ? ERROR_MORE_DATA : ERROR_SUCCESS;
}

DWORD PipeEnd::Write(const void* data, DWORD size, DWORD& done) {
  done = 0;
  const DWORD error = Check();
  if (error != ERROR_SUCCESS) return error;
  const uint32_t length = size;
  if (!SendAll(connection_, &length, sizeof length, size != 0 ? MSG_MORE : 0) ||
      !SendAll(connection_, data, size, 0)) {
    return Lost(ERROR_NO_DATA);
  }
  done = size;
  return ERROR_SUCCESS;
}

DWORD PipeEnd::Flush() {
  const DWORD error = Check();
  if (error != ERROR_SUCCESS) return error;
  if (ClockIsVirtual()) {
    WaitOnClock(kNever, [this] { return AllRead(connection_); });
  } else {
    while (!AllRead(connection_)) IsReady(connection_, 0, kFlushPoll);
  }
  return IsGone(connection_) ? ERROR_BROKEN_PIPE : ERROR_SUCCESS;
}

}  // namespace platform
