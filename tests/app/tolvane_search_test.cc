#include "app/tolvane_search.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <tuple>

#include "fake_env.h"
#include "test_support.h"

namespace quellmark {
namespace {

namespace fs = std::filesystem;

// Entries under root, separated by commas: "a/b/" is a folder, "a/f" an empty file, "l -> t" a
// link to t.
void Build(const std::string& root, const std::string& entries) {
  fs::create_directories(root);
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

TEST(TolvaneSearchTest, NamesBeginWithTolvaneAndEndWithAppInAnyAsciiCase) {
  for (const char* name :
       {"Tolvane.app", "Tolvane Pro 2.app", "tolvane.APP", "TOLVANE \xC3\xA9.app"})
    EXPECT_TRUE(IsTolvaneName(name)) << name;
  for (const char* name : {"Tolvane", "Tolvane.ap", "MyTolvane.app", "Tolvane.app.zip",
                           "Tolvaneapp", "Tolvan\xC3\xA9.app", ".app", ""})
    EXPECT_FALSE(IsTolvaneName(name)) << name;
}

TEST(TolvaneSearchTest, SearchesBreadthFirstThroughPlainFoldersAndStopsAtTheFirstName) {
  const std::tuple<const char*, const char*, const char*> rows[] = {
      {"a shallower match beats one under a folder that sorts first",
       "A/B/Tolvane.app/,Z/Tolvane 2.app/", "Z/Tolvane 2.app"},
      {"subfolders are looked into in the order met", "A/Tolvane B.app/,B/Tolvane A.app/",
       "A/Tolvane B.app"},
      {"plain folders, Tolvane-named ones too, are entered at any depth",
       "Tolvane Stuff/a/b/c/d/e/Tolvane.app/", "Tolvane Stuff/a/b/c/d/e/Tolvane.app"},
      {"packages are not entered", "Utilities.app/Tolvane.app/,X.bundle/Tolvane.app/", ""},
      {"links to folders are not entered", "Link -> ../Elsewhere", ""},
      {"a link loop neither traps the search nor hides a match",
       "Loop -> .,Up -> ..,Z/Tolvane.app/", "Z/Tolvane.app"},
      {"an empty folder has no match", "", ""},
      {"a plain file with the name ends the search", "A/Tolvane.app/,Tolvane.app", "Tolvane.app"}};
  for (const auto& [what, entries, found] : rows) {
    TempFolder dir;
    Build(dir / "Elsewhere", "Tolvane.app/");
    Build(dir / "Applications", entries);
    EXPECT_EQ(PathOf(SearchForTolvane(GetFolderItem(String(dir / "Applications"), 0))),
              *found ? dir / "Applications/" + found : "nil")
        << what;
  }
}

TEST(LocateTolvaneTest, AnExistingSavedFolderWinsAndAnythingElseFallsBackToTheSearch) {
  TempFolder dir;
  FakeEnv env;
  env.applications_folder = dir / "Applications";
  Build(dir.path, "Applications/Tolvane.app/,Saved/Tolvane Beta.app/,Saved/file.app");
  // The saved location under dir ("": none), and what is located there (nullptr: the search's).
  const std::tuple<const char*, const char*, const char*> rows[] = {
      {"a saved bundle is taken as it is", "Saved/Tolvane Beta.app", "Saved/Tolvane Beta.app"},
      {"so is any saved folder", "Saved", "Saved"},
      {"a saved plain file is passed over", "Saved/file.app", nullptr},
      {"a saved path to nothing is passed over", "Saved/Gone.app", nullptr},
      {"no saved location sends straight to the search", "", nullptr}};
  for (const auto& [what, location, found] : rows) {
    EXPECT_EQ(PathOf(LocateTolvane(*location ? String(dir / location) : String())),
              dir / (found ? found : "Applications/Tolvane.app"))
        << what;
  }
  env.applications_folder = dir / "Saved/Gone";
  EXPECT_EQ(PathOf(LocateTolvane(String(dir / "Saved/file.app"))), "nil");
}

}  // namespace
}  // namespace quellmark
