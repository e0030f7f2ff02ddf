// Finding Tolvane's application bundle: the location Tolvane saved, else a breadth-first search
// of the Applications folder for the first item named "Tolvane...app".
//
// The search descends only into items whose kind is "Folder": never into packages (bundles
// included) or symbolic links, so a link loop cannot trap it. It has no depth limit. The first
// name match ends it, even when the match is a plain file: the caller then finds no usable bundle.

#ifndef QUELLMARK_APP_TOLVANE_SEARCH_H_
#define QUELLMARK_APP_TOLVANE_SEARCH_H_

#include "runtime/folder_item.h"
#include "runtime/ref.h"
#include "runtime/string_value.h"

namespace quellmark {

// A name that begins with "Tolvane" and ends with ".app", under the runtime's case rule.
bool IsTolvaneName(const String& name);

// The item at location (a decoded absolute path) when it is an existing folder; otherwise nil.
Ref<FolderItem> SavedTolvane(const String& location);

// The first item, breadth first under root, whose name IsTolvaneName; nil when there is none.
Ref<FolderItem> SearchForTolvane(const Ref<FolderItem>& root);

}  // namespace quellmark

#endif  // QUELLMARK_APP_TOLVANE_SEARCH_H_
