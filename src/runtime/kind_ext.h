// KindExt: an item's kind as the desktop names it. "Folder" is a real folder (not a link) that
// is not a package, i.e. whose name does not end in a package extension such as ".app". The
// other kinds: "Application" (a .app package), "Package", "Alias" (a symbolic link),
// "Document" (anything else present) and "" (nothing there). A nil item throws.

#ifndef QUELLMARK_RUNTIME_KIND_EXT_H_
#define QUELLMARK_RUNTIME_KIND_EXT_H_

#include "runtime/folder_item.h"
#include "runtime/ref.h"
#include "runtime/string_value.h"

namespace quellmark {

String KindExt(const Ref<FolderItem>& item);

// A folder with this name is a package (compared under the runtime's case rule).
bool HasPackageExtension(const std::string& name);

}  // namespace quellmark

#endif  // QUELLMARK_RUNTIME_KIND_EXT_H_
