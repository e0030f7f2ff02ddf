#include "runtime/folder_item.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <ctime>

#include <algorithm>
#include <limits>

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
  return {st.st_dev, st.st_ino, Nanoseconds(st.st_mtim), Nanoseconds(st.st_ctim)};
}

FolderItem::ListedType TypeOf(const dirent& entry) {
  switch (entry.d_type) {
    case DT_DIR:
      return FolderItem::ListedType::kFolder;
    case DT_LNK:
      return FolderItem::ListedType::kLink;
    case DT_UNKNOWN:
      return FolderItem::ListedType::kUnknown;
    default:
      return FolderItem::ListedType::kOther;
  }
}

int64_t NowNanoseconds() {
  timespec now{};
  clock_gettime(CLOCK_REALTIME, &now);
  return Nanoseconds(now);
}

}  // namespace

String FolderItem::Name() const {
  const std::string path = WithoutTrailingSlashes(path_);
  if (path == "/") return String("");
  return String(path.substr(path.rfind('/') + 1), TextEncoding::kNone);
}

bool FolderItem::Exists() const {
  struct stat st {};
  return lstat(path_.c_str(), &st) == 0;
}

bool FolderItem::Directory() const {
  struct stat st {};
  return stat(path_.c_str(), &st) == 0 && S_ISDIR(st.st_mode);
}

Ref<FolderItem> FolderItem::Child(const String& name) const {
  const std::string& bytes = name.Bytes();
  if (bytes.empty() || bytes == "." || bytes == ".." ||
      bytes.find_first_of(std::string_view("/\0", 2)) != std::string::npos) {
    return nullptr;
  }
  return Ref<FolderItem>::New(JoinPath(path_, bytes));
}

void FolderItem::RefreshListing() {
  const int64_t checked_at = NowNanoseconds();
  if (listed_ && checked_at - checked_at_ns_ < kRecheckInterval) return;
  checked_at_ns_ = checked_at;
  if (listed_) {
    struct stat st {};
    if (stat(path_.c_str(), &st) == 0 && S_ISDIR(st.st_mode) && StampOf(st) == listed_stamp_ &&
        (!racy_ || checked_at - listed_at_ns_ < kRelistInterval)) {
      return;
    }
  }
  entries_.clear();
  listed_ = false;
  // One lookup of the path: the stamp comes from the open folder itself.
  const int descriptor = open(path_.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (descriptor < 0) return;
  struct stat st {};
  DIR* folder = fstat(descriptor, &st) == 0 ? fdopendir(descriptor) : nullptr;
  if (folder == nullptr) {
    close(descriptor);
    return;
  }
  // The stamp is taken before the listing, so a change made while listing shows as a new
  // stamp on the next call.
  const ChangeStamp stamp = StampOf(st);
  const int64_t now = NowNanoseconds();
  while (const dirent* entry = readdir(folder)) {
    const std::string_view name = entry->d_name;
    if (name != "." && name != "..") entries_.push_back({std::string(name), TypeOf(*entry)});
  }
  closedir(folder);
  std::sort(entries_.begin(), entries_.end(),
            [](const Entry& a, const Entry& b) { return a.name < b.name; });
  listed_stamp_ = stamp;
  listed_at_ns_ = now;
  listed_ = true;
  // A stamp younger than the granularity of folder time stamps may hide a change made just
  // after this listing, so such a listing is taken again, at most once a second, until the
  // folder has been still for long enough. A walk thus stays linear however fresh the folder.
  racy_ = std::max(stamp.modified_ns, stamp.changed_ns) >= now - kStampGranularity;
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
  return Ref<FolderItem>::New(JoinPath(path_, entry.name), entry.type);
}

String FolderItem::ShellPath() const { return String(ShellQuotePath(path_), TextEncoding::kNone); }

Ref<TextInputStream> FolderItem::OpenAsTextFile() const {
  const int descriptor = open(path_.c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC);
  if (descriptor < 0) return nullptr;
  struct stat st {};
  if (fstat(descriptor, &st) != 0 || !S_ISREG(st.st_mode)) {
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
