#include "app/tolvane_search.h"

#include "runtime/application.h"
#include "runtime/array.h"
#include "runtime/kind_ext.h"

namespace quellmark {

bool IsTolvaneName(const String& name) {
  return Left(name, Len("Tolvane")) == "Tolvane" && Right(name, Len(".app")) == ".app";
}

Ref<FolderItem> SavedTolvane(const String& location) {
  if (Len(location) > 0) {
    Ref<FolderItem> saved = GetFolderItem(location, 0);
    if (saved != nullptr && saved->Exists() && saved->Directory()) return saved;
  }
  return nullptr;
}

Ref<FolderItem> SearchForTolvane(const Ref<FolderItem>& root) {
  Array<Ref<FolderItem>> folders;  // first in, first out
  folders.Append(root);
  while (folders.UBound() != -1) {
    const Ref<FolderItem> head = folders.Get(0);
    if (head->Directory()) {
      // The count is read again on every step, as the folder may change while it is walked.
      for (int32_t i = 1; i <= head->Count(); ++i) {
        Ref<FolderItem> child = head->TrueItem(i);
        if (IsTolvaneName(child->Name())) return child;
        if (KindExt(child) == "Folder") folders.Append(child);
        YieldPoint();
      }
    }
    folders.Remove(0);
    YieldPoint();
  }
  return nullptr;
}

}  // namespace quellmark
