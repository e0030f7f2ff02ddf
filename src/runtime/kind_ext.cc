#include "runtime/kind_ext.h"

#include <sys/stat.h>

#include <algorithm>
#include <string_view>

#include "runtime/caseless_search.h"

namespace quellmark {

namespace {

constexpr std::string_view kPackageExtensions[] = {
    ".app",   ".bundle",      ".framework",  ".plugin",    ".kext", ".pkg",   ".mpkg", ".prefPane",
    ".saver", ".qlgenerator", ".mdimporter", ".component", ".xpc",  ".appex", ".wdgt", ".dSYM"};

bool EndsWithCaseless(std::string_view name, std::string_view suffix) {
  return name.size() > suffix.size() &&
         CaselessEqual(name.substr(name.size() - suffix.size()), suffix);
}

}  // namespace

bool HasPackageExtension(const std::string& name) {
  return std::ranges::any_of(kPackageExtensions, [&name](std::string_view extension) {
    return EndsWithCaseless(name, extension);
  });
}

String KindExt(const Ref<FolderItem>& item) {
  // An item from a folder listing already knows its type: a search then needs no call per entry.
  FolderItem::ListedType type = item->Listed();
  if (type == FolderItem::ListedType::kUnknown) {
    struct stat st {};
    if (!item->Status(&st, false)) return String("");
    type = S_ISLNK(st.st_mode)   ? FolderItem::ListedType::kLink
           : S_ISDIR(st.st_mode) ? FolderItem::ListedType::kFolder
                                 : FolderItem::ListedType::kOther;
  }
  if (type == FolderItem::ListedType::kLink) return String("Alias");
  if (type != FolderItem::ListedType::kFolder) return String("Document");
  const std::string name = item->Name().Bytes();
  if (EndsWithCaseless(name, ".app")) return String("Application");
  return String(HasPackageExtension(name) ? "Package" : "Folder");
}

}  // namespace quellmark
