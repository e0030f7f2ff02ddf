#include "runtime/special_folder.h"

#include "runtime/env.h"

namespace quellmark {

Ref<FolderItem> PreferencesFolder() {
  std::optional<std::string> path = Env::Current().PreferencesFolderPath();
  if (!path || path->empty() || path->front() != '/') return nullptr;
  return Ref<FolderItem>::New(std::move(*path));
}

Ref<FolderItem> SpecialFolder::Applications() {
  return Ref<FolderItem>::New(Env::Current().ApplicationsFolderPath());
}

}  // namespace quellmark
