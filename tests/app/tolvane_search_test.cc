#include "app/tolvane_search.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <utility>

#include "test_support.h"

namespace quellmark {
namespace {

namespace fs = std::filesystem;

// Entries under root, separated by commas: "a/b/" is a folder, "a/f" an empty file, "l -> t" a
// link to t.
void Build(const std::string& root, const std::string& entries) {
  std::istringstream list(entries);
  for (std::string entry; std::getline(list, entry, ',');) {
    const size_t arrow = entry.find(" -> ");
    const fs::path path = root + "/" + entry.substr(0, arrow);
    fs::create_directories(entry.back() == '/' ? path : path.parent_path());
    if (arrow != std::string::npos) fs::create_symlink(entry.substr(arrow + 4), path);
    if (arrow == std::string::npos && entry.back() != '/') std::ofstream{path};
  }
}

std::string PathOf(const Ref<FolderItem>& item) { return item.IsNil() ? "nil" : item->Path(); }

TEST(TolvaneSearchTest, SearchesBreadthFirstThroughPlainFoldersAndStopsAtTheFirstName) {
  // The entries under Applications, and the match found there ("": none).
  const std::pair<const char*, const char*> rows[] = {
      // Level by level, each level in the order met: neither depth first nor last in, first out.
      {"A/B/Tolvane.app/,B/Tolvane 1.app/,C/Tolvane 2.app/", "B/Tolvane 1.app"},
      // Plain folders, Tolvane-named ones too, are entered at any depth.
      {"Tolvane Stuff/a/b/c/d/e/Tolvane.app/", "Tolvane Stuff/a/b/c/d/e/Tolvane.app"},
      // Neither packages nor links to folders are entered.
      {"Link -> ../Elsewhere,U.app/Tolvane.app/,X.bundle/Tolvane.app/", ""},
      // A link loop neither traps the search nor hides a match.
      {"Loop -> .,Up -> ..,Z/Tolvane.app/", "Z/Tolvane.app"},
      // A plain file with the name ends the search.
      {"A/Tolvane.app/,Tolvane.app", "Tolvane.app"},
      // A name begins with Tolvane and ends with .app, in any ASCII case; near misses do not.
      {"MyTolvane.app/,Tolvane.ap/,Tolvane.app.zip/,Tolvaneapp/,Tolvan\xC3\xA9.app/,"
       "x/TOLVANE \xC3\xA9.aPP/",
       "x/TOLVANE \xC3\xA9.aPP"}};
  for (const auto& [entries, found] : rows) {
    TempFolder dir;
    Build(dir.path, "Elsewhere/Tolvane.app/");
    Build(dir / "Applications", entries);
    const Ref<FolderItem> match = SearchForTolvane(GetFolderItem(String(dir / "Applications"), 0));
    EXPECT_EQ(PathOf(match), *found ? dir / "Applications/" + found : "nil") << entries;
  }
}

}  // namespace
}  // namespace quellmark
