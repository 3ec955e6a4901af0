#include "platform/kernel/directory_cache.h"

#include <dirent.h>
#include <sys/inotify.h>
#include <sys/stat.h>
#include <unistd.h>

#include <map>
#include <mutex>
#include <unordered_map>
#include <utility>

#include "platform/kernel/text.h"

namespace platform {
namespace {

constexpr size_t kMostListings = 256;
constexpr uint32_t kWatched =
    IN_CREATE | IN_DELETE | IN_MOVED_FROM | IN_MOVED_TO | IN_DELETE_SELF | IN_ONLYDIR;

std::string FoldedCase(std::string_view name) {
  return ToUtf8(UpperCase(ToWide(name)));
}

// The names of one directory by their folded form.
class Listing {
 public:
  void Add(const std::string& name) {
    const std::string folded = FoldedCase(name);
    const auto [first, last] = names_.equal_range(folded);
    for (auto it = first; it != last; ++it) {
      if (it->second == name) return;
    }
    names_.emplace(folded, name);
  }

  void Remove(const std::string& name) {
    const auto [first, last] = names_.equal_range(FoldedCase(name));
    for (auto it = first; it != last; ++it) {
      if (it->second != name) continue;
      names_.erase(it);
      return;
    }
  }

  std::string Find(const std::string& name) const {
    const auto [first, last] = names_.equal_range(FoldedCase(name));
    std::string best;
    for (auto it = first; it != last; ++it) {
      if (best.empty() || it->second < best) best = it->second;
    }
    return best;
  }

  bool Read(const std::string& directory) {
    DIR* stream = opendir(directory.c_str());
    if (stream == nullptr) return false;
    while (const dirent* entry = readdir(stream)) Add(entry->d_name);
    closedir(stream);
    return true;
  }

 private:
  std::unordered_multimap<std::string, std::string> names_;
};

class Cache {
 public:
  std::string Find(const std::string& directory, const std::string& name) {
    struct stat status;
    if (stat(directory.c_str(), &status) != 0) return {};
    std::lock_guard lock(mutex_);
    Follow();
    const Identity identity{status.st_dev, status.st_ino};
    auto found = listings_.find(identity);
    if (found != listings_.end()) return found->second.Find(name);

    if (listings_.size() >= kMostListings) Forget();
    // The watch comes first: what changes while the directory is read is reported afterwards.
    const int watch = inotify_add_watch(notifications_, directory.c_str(), kWatched);
    Listing listing;
    if (!listing.Read(directory)) return {};
    std::string result = listing.Find(name);
    if (watch >= 0) {
      watches_[watch] = identity;
      listings_.emplace(identity, std::move(listing));
    }
    return result;
  }

 private:
  using Identity = std::pair<dev_t, ino_t>;

  // Brings the listings up to date.
  void Follow() {
    // A forked child must not take its parent's notifications away.
    if (owner_ != getpid()) {
      Forget();
      return;
    }
    alignas(inotify_event) char buffer[16384];
    ssize_t size;
    while ((size = read(notifications_, buffer, sizeof buffer)) > 0) {
      for (ssize_t at = 0; at < size;) {
        const auto* event = reinterpret_cast<const inotify_event*>(buffer + at);
        at += sizeof *event + event->len;
        if ((event->mask & IN_Q_OVERFLOW) != 0) {
          Forget();
          return;
        }
        Apply(*event);
      }
    }
  }

  void Apply(const inotify_event& event) {
    const auto watch = watches_.find(event.wd);
    if (watch == watches_.end()) return;
    if ((event.mask & (IN_DELETE_SELF | IN_IGNORED | IN_UNMOUNT)) != 0) {
      listings_.erase(watch->second);
      if ((event.mask & IN_IGNORED) != 0) watches_.erase(watch);
      return;
    }
    const auto listing = listings_.find(watch->second);
    if (listing == listings_.end() || event.len == 0) return;
    if ((event.mask & (IN_CREATE | IN_MOVED_TO)) != 0) {
      listing->second.Add(event.name);
    } else {
      listing->second.Remove(event.name);
    }
  }

  void Forget() {
    if (notifications_ >= 0 && owner_ == getpid()) close(notifications_);
    notifications_ = inotify_init1(IN_NONBLOCK | IN_CLOEXEC);
    owner_ = getpid();
    listings_.clear();
    watches_.clear();
  }

  std::mutex mutex_;
  int notifications_ = -1;
  pid_t owner_ = 0;
  std::map<Identity, Listing> listings_;
  std::map<int, Identity> watches_;
};

Cache& cache() {
  static Cache* instance = new Cache;
  return *instance;
}

}  // namespace

std::string FindNameIgnoringCase(const std::string& directory, const std::string& name) {
  return cache().Find(directory, name);
}

}  // namespace platform
