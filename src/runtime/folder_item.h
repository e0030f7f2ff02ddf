// FolderItem: a handle on an absolute POSIX path, which may or may not name something on disk,
// with the folder and file services the service uses. Symbolic links are not followed when
// listing or naming kinds; Exists counts a link itself as present.
//
// The system takes no path of PATH_MAX bytes or more, so an item reached by listing (TrueItem,
// Child) that lies deeper than that is reached relative to its parent folder instead, through
// a descriptor of an ancestor held open. Only the few most recently used ancestors stay open:
// however deep or wide a tree, the descriptors in use stay bounded.

#ifndef QUELLMARK_RUNTIME_FOLDER_ITEM_H_
#define QUELLMARK_RUNTIME_FOLDER_ITEM_H_

#include <sys/stat.h>
#include <sys/types.h>

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "runtime/ref.h"
#include "runtime/string_value.h"

namespace quellmark {

class TextInputStream;

class FolderItem {
 public:
  static constexpr const char* kClassName = "FolderItem";

  // What a folder listing said an entry was, so that naming its kind needs no further call.
  enum class ListedType { kUnknown, kFolder, kLink, kOther };

  explicit FolderItem(std::string path, ListedType listed_type = ListedType::kUnknown)
      : path_(std::move(path)), listed_type_(listed_type) {}

  const std::string& Path() const { return path_; }
  // The type the listing that produced this item (TrueItem) saw; kUnknown otherwise.
  ListedType Listed() const { return listed_type_; }
  // The last component of the path, extension included ("Tolvane.app").
  String Name() const;
  // Something (a link included, even one that points nowhere) is present at the path.
  bool Exists() const;
  // The path leads to a folder (following links).
  bool Directory() const;

  // The item called name inside this folder, whether or not it exists; nil when name is empty,
  // "." or "..", or holds "/" or NUL.
  Ref<FolderItem> Child(const String& name) const;

  // The number of entries of the folder ("." and ".." aside), 0 when it is not a readable
  // folder. The folder is listed again when its change stamp moved (checked at most every
  // kRecheckMilliseconds, so a walk over n entries does not cost a call per entry) or, at most
  // once a second, when it changed so lately that a coarse stamp could hide a later change.
  static constexpr int kRecheckMilliseconds = 2;
  int32_t Count();
  // Entry number index (1 to Count), entries ordered by name in byte order, as of the latest
  // listing; links are not followed. nil outside 1 to Count.
  Ref<FolderItem> TrueItem(int32_t index);

  // The path as exactly one word of a POSIX shell command line, whatever bytes it holds:
  // characters outside a safe set are escaped with a backslash, a newline is quoted.
  String ShellPath() const;

  // The file opened for reading: nil unless it is a regular file that can be opened. Opening
  // never blocks, so a FIFO or a device gives nil rather than a hang.
  Ref<TextInputStream> OpenAsTextFile() const;

  // The item's status as stat (following a final link) or lstat gives it; false on failure.
  bool Status(struct stat* status, bool follow_links) const;

  // A folder's identity and change times: when they are unchanged, so is its listing.
  struct ChangeStamp {
    dev_t device = 0;
    ino_t inode = 0;
    int64_t modified_ns = -1;
    int64_t changed_ns = -1;
    bool operator==(const ChangeStamp&) const = default;
  };

 private:
  struct Entry {
    std::string name;
    ListedType type;
  };
  // Where a folder lies: a name inside its parent's link, or at the top a whole path.
  struct Link;

  // call(folder, name) for one of the *at system calls: the whole path from the working
  // folder, or the item's name inside its open parent when the path is too long to take.
  template <typename Call>
  int AtLocation(const Call& call) const;
  // This item as the parent of deeper items, made once on first need.
  const std::shared_ptr<Link>& LinkForChildren() const;
  Ref<FolderItem> MakeChild(std::string_view name, ListedType type) const;
  void RefreshListing();

  std::string path_;
  // Set for an item whose path is too long to take, or which has such children.
  mutable std::shared_ptr<Link> link_;
  ListedType listed_type_;
  ChangeStamp listed_stamp_;
  int64_t listed_at_ns_ = 0;
  int64_t checked_at_ns_ = 0;
  bool listed_ = false;
  bool racy_ = false;
  std::vector<Entry> entries_;
};

// The item at path. Mode 0, the only one, takes an absolute POSIX path; an empty or relative
// path, a path holding NUL or another mode gives nil.
Ref<FolderItem> GetFolderItem(const String& path, int32_t mode);

// folder + "/" + name, with no doubled slash whatever slashes folder ends in.
std::string JoinPath(const std::string& folder, std::string_view name);

// The path as exactly one word of a POSIX shell command line (see FolderItem::ShellPath).
std::string ShellQuotePath(const std::string& path);

}  // namespace quellmark

#endif  // QUELLMARK_RUNTIME_FOLDER_ITEM_H_
