#include "runtime/folder_item.h"

#include <unistd.h>

#include <cerrno>
#include <climits>

#include <algorithm>
#include <array>
#include <limits>

#include "runtime/system_calls.h"
#include "runtime/text_input_stream.h"

namespace quellmark {

namespace {

// Bytes that no POSIX shell treats specially inside a word. Bytes from 0x80 up are never
// special either, so they stay as they are and the word keeps its UTF-8 text. (A shell running
// in a legacy double-byte locale such as Shift_JIS can read a backslash as the second byte of a
// character; no escaping by backslashes survives that, and such locales are not supported.)
bool IsShellSafe(unsigned char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c >= 0x80 ||
         c == '/' || c == '.' || c == '_' || c == '-' || c == ',' || c == ':' || c == '+' ||
         c == '@';
}

std::string WithoutTrailingSlashes(const std::string& path) {
  size_t end = path.size();
  while (end > 1 && path[end - 1] == '/') --end;
  return path.substr(0, end);
}

int64_t Nanoseconds(const timespec& t) { return int64_t{t.tv_sec} * 1000000000 + t.tv_nsec; }

// How far a folder's time stamps may lag the change they record: many kernels stamp from a
// clock that advances once a tick, and some file systems keep two-second times.
constexpr int64_t kStampGranularity = 2'000'000'000;
constexpr int64_t kRelistInterval = 1'000'000'000;
constexpr int64_t kRecheckInterval = int64_t{FolderItem::kRecheckMilliseconds} * 1'000'000;

FolderItem::ChangeStamp StampOf(const struct stat& st) {
#ifdef __APPLE__
  // macOS names the nanosecond time stamps after the struct, not POSIX's st_mtim.
  return {st.st_dev, st.st_ino, Nanoseconds(st.st_mtimespec), Nanoseconds(st.st_ctimespec)};
#else
  return {st.st_dev, st.st_ino, Nanoseconds(st.st_mtim), Nanoseconds(st.st_ctim)};
#endif
}

FolderItem::ListedType TypeOf(const dirent& entry) {
  switch (entry.d_type) {
    case DT_DIR:
      return FolderItem::ListedType::kFolder;
    case DT_LNK:
      return FolderItem::ListedType::kLink;
    // GCOVR_EXCL_START: every file system the tests can make gives each entry's type
    case DT_UNKNOWN:
      return FolderItem::ListedType::kUnknown;
      // GCOVR_EXCL_STOP
    default:
      return FolderItem::ListedType::kOther;
  }
}

// Flags for a descriptor that is only ever used to reach the items inside a folder.
#ifdef O_PATH
constexpr int kReachFlags = O_PATH | O_DIRECTORY | O_CLOEXEC;
#elif defined(O_SEARCH)
constexpr int kReachFlags = O_SEARCH | O_DIRECTORY | O_CLOEXEC;
#else
constexpr int kReachFlags = O_RDONLY | O_DIRECTORY | O_CLOEXEC;
#endif

// The open folders that deep items were last reached through, least recently used first. Only
// kLimit stay open: the oldest is closed to make room. Trivially destructible, so links that
// outlive static destruction can still let go of theirs.
class HeldFolders {
 public:
  // The descriptor held for link, now the most recently used; -1 when none is held.
  int Find(const void* link) {
    Held* const end = held_.data() + count_;
    Held* const found =
        std::find_if(held_.data(), end, [link](const Held& h) { return h.link == link; });
    if (found == end) return -1;
    std::rotate(found, found + 1, end);
    return end[-1].descriptor;
  }

  int Hold(const void* link, int descriptor) {
    if (count_ == kLimit) {
      close(held_[0].descriptor);
      std::rotate(held_.begin(), held_.begin() + 1, held_.end());
      --count_;
    }
    held_[count_++] = {link, descriptor};
    return descriptor;
  }

  void Release(const void* link) {
    if (Find(link) >= 0) close(held_[--count_].descriptor);
  }

 private:
  static constexpr size_t kLimit = 8;
  struct Held {
    const void* link;
    int descriptor;
  };
  std::array<Held, kLimit> held_{};
  size_t count_ = 0;
};

constinit HeldFolders held_folders;

}  // namespace

struct FolderItem::Link {
  Link(std::shared_ptr<Link> up, std::string text) : parent(std::move(up)), name(std::move(text)) {}
  Link(const Link&) = delete;
  Link& operator=(const Link&) = delete;

  std::shared_ptr<Link> parent;
  std::string name;  // the whole path when there is no parent

  ~Link() {
    held_folders.Release(this);
    // A long chain is let go of one link at a time, not by a recursion as deep as the chain.
    std::shared_ptr<Link> up = std::move(parent);
    while (up != nullptr && up.use_count() == 1) up = std::move(up->parent);
  }

  // A descriptor of this folder, opened from the nearest ancestor held open (or from the top
  // link's path) one level at a time; -1 when a level cannot be opened.
  int Descriptor() {
    std::vector<Link*> unopened;
    int base = AT_FDCWD;
    for (Link* link = this; link != nullptr; link = link->parent.get()) {
      base = held_folders.Find(link);
      if (base >= 0) break;
      base = AT_FDCWD;
      unopened.push_back(link);
    }
    std::reverse(unopened.begin(), unopened.end());  // opened from the top down
    for (Link* link : unopened) {
      const int descriptor = sys::OpenAt(base, link->name.c_str(), kReachFlags);
      if (descriptor < 0) return -1;
      base = held_folders.Hold(link, descriptor);
    }
    return base;
  }
};

template <typename Call>
int FolderItem::AtLocation(const Call& call) const {
  if (link_ == nullptr || link_->parent == nullptr) return call(AT_FDCWD, path_.c_str());
  const int folder = link_->parent->Descriptor();
  return folder < 0 ? -1 : call(folder, link_->name.c_str());
}

const std::shared_ptr<FolderItem::Link>& FolderItem::LinkForChildren() const {
  if (link_ == nullptr) link_ = std::make_shared<Link>(nullptr, path_);
  return link_;
}

Ref<FolderItem> FolderItem::MakeChild(std::string_view name, ListedType type) const {
  Ref<FolderItem> child = Ref<FolderItem>::New(JoinPath(path_, name), type);
  if (child->path_.size() >= PATH_MAX) {
    child->link_ = std::make_shared<Link>(LinkForChildren(), std::string(name));
  }
  return child;
}

bool FolderItem::Status(struct stat* status, bool follow_links) const {
  const int flags = follow_links ? 0 : AT_SYMLINK_NOFOLLOW;
  return AtLocation([&](int folder, const char* name) {
           return sys::FileStatusAt(folder, name, status, flags);
         }) == 0;
}

String FolderItem::Name() const {
  const std::string path = WithoutTrailingSlashes(path_);
  if (path == "/") return String("");
  return String(path.substr(path.rfind('/') + 1), TextEncoding::kNone);
}

bool FolderItem::Exists() const {
  struct stat st {};
  return Status(&st, false);
}

bool FolderItem::Directory() const {
  struct stat st {};
  return Status(&st, true) && S_ISDIR(st.st_mode);
}

Ref<FolderItem> FolderItem::Child(const String& name) const {
  const std::string& bytes = name.Bytes();
  if (bytes.empty() || bytes == "." || bytes == ".." ||
      bytes.find_first_of(std::string_view("/\0", 2)) != std::string::npos) {
    return nullptr;
  }
  return MakeChild(bytes, ListedType::kUnknown);
}

void FolderItem::RefreshListing() {
  const int64_t checked_at = sys::RealTimeNanoseconds();
  if (listed_ && checked_at - checked_at_ns_ < kRecheckInterval) return;
  checked_at_ns_ = checked_at;
  if (listed_) {
    struct stat st {};
    if (Status(&st, true) && S_ISDIR(st.st_mode) && StampOf(st) == listed_stamp_ &&
        (!racy_ || checked_at - listed_at_ns_ < kRelistInterval)) {
      return;
    }
  }
  entries_.clear();
  listed_ = false;
  // One lookup of the path: the stamp comes from the open folder itself.
  const int descriptor = AtLocation([](int folder, const char* name) {
    return sys::OpenAt(folder, name, O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  });
  if (descriptor < 0) return;
  struct stat st {};
  DIR* folder = sys::FileStatus(descriptor, &st) == 0 ? sys::OpenFolder(descriptor) : nullptr;
  if (folder == nullptr) {
    close(descriptor);
    return;
  }
  // The stamp is taken before the listing, so a change made while listing shows as a new
  // stamp on the next call.
  const ChangeStamp stamp = StampOf(st);
  for (;;) {
    errno = 0;
    const dirent* entry = sys::ReadFolder(folder);
    if (entry == nullptr) break;
    const std::string_view name = entry->d_name;
    if (name != "." && name != "..") entries_.push_back({std::string(name), TypeOf(*entry)});
  }
  // A listing that failed part of the way is no listing: the folder is listed afresh next time.
  const bool whole = errno == 0;
  closedir(folder);
  if (!whole) {
    entries_.clear();
    return;
  }
  std::sort(entries_.begin(), entries_.end(),
            [](const Entry& a, const Entry& b) { return a.name < b.name; });
  listed_stamp_ = stamp;
  // Dated from the check, taken before the folder was opened: its age errs toward listing again.
  listed_at_ns_ = checked_at;
  listed_ = true;
  // A stamp younger than the granularity of folder time stamps may hide a change made just
  // after this listing, so such a listing is taken again, at most once a second, until the
  // folder has been still for long enough. A walk thus stays linear however fresh the folder.
  racy_ = std::max(stamp.modified_ns, stamp.changed_ns) >= checked_at - kStampGranularity;
}

int32_t FolderItem::Count() {
  RefreshListing();
  return static_cast<int32_t>(
      std::min<size_t>(entries_.size(), std::numeric_limits<int32_t>::max()));
}

Ref<FolderItem> FolderItem::TrueItem(int32_t index) {
  if (!listed_) RefreshListing();
  if (index < 1 || static_cast<size_t>(index) > entries_.size()) return nullptr;
  const Entry& entry = entries_[static_cast<size_t>(index) - 1];
  return MakeChild(entry.name, entry.type);
}

String FolderItem::ShellPath() const { return String(ShellQuotePath(path_), TextEncoding::kNone); }

Ref<TextInputStream> FolderItem::OpenAsTextFile() const {
  const int descriptor = AtLocation([](int folder, const char* name) {
    return sys::OpenAt(folder, name, O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC);
  });
  if (descriptor < 0) return nullptr;
  struct stat st {};
  if (sys::FileStatus(descriptor, &st) != 0 || !S_ISREG(st.st_mode)) {
    close(descriptor);
    return nullptr;
  }
  return Ref<TextInputStream>::New(descriptor);
}

Ref<FolderItem> GetFolderItem(const String& path, int32_t mode) {
  const std::string& bytes = path.Bytes();
  if (mode != 0 || bytes.empty() || bytes.front() != '/' || bytes.find('\0') != std::string::npos) {
    return nullptr;
  }
  return Ref<FolderItem>::New(bytes);
}

std::string JoinPath(const std::string& folder, std::string_view name) {
  std::string path = WithoutTrailingSlashes(folder);
  if (path != "/") path += '/';
  return path.append(name);
}

std::string ShellQuotePath(const std::string& path) {
  std::string word;
  word.reserve(path.size() * 2);
  for (const char c : path) {
    if (c == '\n') {
      // A backslash before a newline would join lines; quoting keeps the newline.
      word += "'\n'";
    } else {
      if (!IsShellSafe(static_cast<unsigned char>(c))) word += '\\';
      word += c;
    }
  }
  return word;
}

}  // namespace quellmark
