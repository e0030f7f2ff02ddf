// The platform's well-known folders, as the Env in force names them.

#ifndef QUELLMARK_RUNTIME_SPECIAL_FOLDER_H_
#define QUELLMARK_RUNTIME_SPECIAL_FOLDER_H_

#include "runtime/folder_item.h"
#include "runtime/ref.h"

namespace quellmark {

// The current user's preferences folder, whether or not it exists; nil when there is no user.
Ref<FolderItem> PreferencesFolder();

struct SpecialFolder {
  // The system's applications folder.
  static Ref<FolderItem> Applications();
};

}  // namespace quellmark

#endif  // QUELLMARK_RUNTIME_SPECIAL_FOLDER_H_
