#include "runtime/folder_item.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <gtest/gtest.h>

#include <chrono>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <thread>
#include <tuple>

#include "runtime/kind_ext.h"
#include "runtime/shell.h"
#include "runtime/text_input_stream.h"
#include "test_support.h"

namespace quellmark {
namespace {

namespace fs = std::filesystem;

void WriteFile(const std::string& path, const std::string& bytes) { std::ofstream(path) << bytes; }

Ref<FolderItem> Item(const std::string& path) { return GetFolderItem(String(path), 0); }

// Whether path opens as a text file, asked in a child process so that a hang is ended by an
// alarm (-1) and privileges can be dropped without touching the test process (77 when they
// cannot be).
int OpensInChild(const std::string& path, bool unprivileged = false) {
  const pid_t child = fork();
  if (child == 0) {
    alarm(5);
    if (unprivileged && geteuid() == 0 && setuid(65534) != 0) _exit(77);
    _exit(Item(path)->OpenAsTextFile().IsNil() ? 0 : 1);
  }
  int status = 0;
  if (child < 0 || waitpid(child, &status, 0) != child) return -1;
  return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
}

TEST(FolderItemTest, GetFolderItemTakesOnlyAbsolutePathsWhetherOrNotTheyExist) {
  const std::tuple<const char*, std::string, int32_t, bool> rows[] = {
      {"an absolute path names an item", "/Applications/Tolvane.app", 0, false},
      {"an empty path is nil", "", 0, true},
      {"a relative path is nil", "Applications/Tolvane.app", 0, true},
      {"a path holding NUL is nil", std::string("/tmp/a\0b", 8), 0, true},
      {"a mode other than 0 is nil", "/Applications", 1, true}};
  for (const auto& [what, path, mode, nil] : rows) {
    EXPECT_EQ(GetFolderItem(String(path), mode).IsNil(), nil) << what;
  }
  const Ref<FolderItem> missing = Item("/no/such/folder")->Child("Tolvane.app");
  ASSERT_FALSE(missing.IsNil());
  EXPECT_FALSE(missing->Exists());
  for (const char* bad : {"", ".", "..", "a/b"}) EXPECT_TRUE(Item("/")->Child(bad).IsNil());
}

TEST(KindExtTest, OnlyARealFolderThatIsNotAPackageIsAFolder) {
  TempFolder dir;
  WriteFile(dir / "File.app", "");
  fs::create_directory(dir / "Plain");
  fs::create_directory_symlink(dir / "Plain", dir / "Link To Plain");
  const std::tuple<const char*, const char*, bool> rows[] = {
      {"Plain", "Folder", true},
      {"notes.application", "Folder", true},
      {"Tolvane.app", "Application", true},
      {"Shared.APP", "Application", true},
      {"Kit.framework", "Package", true},
      {"Link To Plain", "Alias", true},
      {"File.app", "Document", false},
      {"Missing", "", false},
  };
  for (const auto& [name, kind, directory] : rows) {
    if (directory) fs::create_directory(dir / name);  // nothing new for the two made above
    EXPECT_EQ(KindExt(Item(dir / name)).Bytes(), kind) << name;
    EXPECT_EQ(Item(dir / name)->Directory(), directory) << name;
  }
  // An item from a listing names its kind from the type the listing saw, without a call of its
  // own: it must agree with the kind looked up afresh.
  const Ref<FolderItem> folder = Item(dir.path);
  for (int32_t i = 1; i <= folder->Count(); ++i) {
    const Ref<FolderItem> listed = folder->TrueItem(i);
    EXPECT_EQ(KindExt(listed), KindExt(Item(listed->Path()))) << listed->Path();
  }
  EXPECT_THROW(KindExt(nullptr), NilObjectException);
}

TEST(FolderItemTest, TrueItemNumbersEntriesFromOneInByteOrderAndCountFollowsChanges) {
  TempFolder dir;
  const std::vector<std::string> sorted = {".hidden", "10", "9",    "B",       "Z",
                                           "_",       "a",  "link", "\xC3\xA9"};
  for (const std::string& name : sorted) WriteFile(dir / name, "");
  fs::remove(dir / "link");
  fs::create_symlink("/no/such/target", dir / "link");
  const Ref<FolderItem> folder = Item(dir.path);
  ASSERT_EQ(folder->Count(), 9);
  int32_t index = 0;
  for (const std::string& name : sorted) EXPECT_EQ(folder->TrueItem(++index)->Name().Bytes(), name);
  EXPECT_EQ(folder->TrueItem(folder->Count())->Path(), dir / "\xC3\xA9");
  for (int32_t outside : {0, -1, 10, 1000}) EXPECT_TRUE(folder->TrueItem(outside).IsNil());
  EXPECT_TRUE(folder->TrueItem(8)->Exists());  // a link to nothing is still an entry
  EXPECT_EQ(KindExt(folder->TrueItem(8)).Bytes(), "Alias");
  // Soon after a listing, when the folder's change stamp may not have moved on yet.
  const auto recheck = std::chrono::milliseconds(FolderItem::kRecheckMilliseconds + 1);
  WriteFile(dir / "new", "");
  std::this_thread::sleep_for(recheck);
  EXPECT_EQ(folder->Count(), 10);
  fs::remove(dir / "a");
  fs::remove(dir / "B");
  std::this_thread::sleep_for(recheck);
  EXPECT_EQ(folder->Count(), 8);
}

size_t OpenDescriptors() {
  return static_cast<size_t>(std::distance(fs::directory_iterator("/proc/self/fd"), {}));
}

TEST(FolderItemTest, ItemsDeeperThanPathMaxWorkThroughFewDescriptors) {
  if (!fs::exists("/proc/self/fd")) GTEST_SKIP() << "needs /proc";
  TempFolder dir;
  // 25 levels of 200-byte names, made one level at a time as the whole path is too long.
  const std::string level(200, 'd');
  int folder = open(dir.path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  for (int i = 0; i < 25; ++i) {
    ASSERT_EQ(mkdirat(folder, level.c_str(), 0755), 0);
    const int inner = openat(folder, level.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    close(folder);
    folder = inner;
  }
  constexpr int kWide = 40;
  for (int i = 0; i < kWide; ++i) {
    const std::string name = "w" + std::to_string(i);
    ASSERT_EQ(mkdirat(folder, name.c_str(), 0755), 0);
    const int file = openat(folder, (name + "/f").c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0644);
    ASSERT_EQ(write(file, "text", 4), 4);
    close(file);
  }
  ASSERT_EQ(symlinkat("w0", folder, "link"), 0);
  close(folder);

  const size_t descriptors_before = OpenDescriptors();
  {
    Ref<FolderItem> bottom = Item(dir.path);
    for (int i = 0; i < 25; ++i) bottom = bottom->TrueItem(1);
    ASSERT_GE(bottom->Path().size(), size_t{PATH_MAX});
    EXPECT_TRUE(bottom->Exists() && bottom->Directory());
    EXPECT_EQ(KindExt(bottom).Bytes(), "Folder");
    ASSERT_EQ(bottom->Count(), kWide + 1);
    EXPECT_FALSE(bottom->Child(String("none"))->Exists());
    EXPECT_EQ(KindExt(bottom->Child(String("link"))).Bytes(), "Alias");
    // Every item kept alive at once, each reached again after the others.
    std::vector<Ref<FolderItem>> files;
    for (int32_t i = 1; i <= kWide; ++i) files.push_back(bottom->TrueItem(i)->TrueItem(1));
    for (const Ref<FolderItem>& file : files) {
      EXPECT_EQ(KindExt(file).Bytes(), "Document");
      EXPECT_EQ(file->OpenAsTextFile()->ReadAll(TextEncoding::kNone).Bytes(), "text")
          << file->Path();
      EXPECT_LE(OpenDescriptors(), descriptors_before + 8);
    }
  }
  EXPECT_EQ(OpenDescriptors(), descriptors_before);
}

TEST(FolderItemTest, OnlyARegularReadableFileOpensAsTextAndNothingBlocks) {
  TempFolder dir;
  WriteFile(dir / "notes.txt", "text");
  WriteFile(dir / "secret.txt", "text");
  ASSERT_EQ(chmod(dir.path.c_str(), 0755) | chmod((dir / "notes.txt").c_str(), 0644) |
                chmod((dir / "secret.txt").c_str(), 0200) | mkfifo((dir / "fifo").c_str(), 0600),
            0);
  fs::create_symlink("/dev/zero", dir / "zero");
  fs::create_symlink(dir / "notes.txt", dir / "link");
  // The rows for an unprivileged user come last: the rest are skipped where none can be had.
  const std::tuple<const char*, std::string, bool, int> rows[] = {
      {"a regular file opens", dir / "notes.txt", false, 1},
      {"a link to a regular file opens", dir / "link", false, 1},
      {"a FIFO with no writer gives nil at once", dir / "fifo", false, 0},
      {"/dev/zero gives nil", "/dev/zero", false, 0},
      {"a link to /dev/zero gives nil", dir / "zero", false, 0},
      {"a folder gives nil", dir.path, false, 0},
      {"a file anyone may read opens for an unprivileged user", dir / "notes.txt", true, 1},
      {"a file only its owner may write gives that user nil", dir / "secret.txt", true, 0}};
  for (const auto& [what, path, unprivileged, opens] : rows) {
    const int opened = OpensInChild(path, unprivileged);
    if (opened == 77) GTEST_SKIP() << "cannot become an unprivileged user";
    EXPECT_EQ(opened, opens) << what;
  }
}

TEST(TextInputStreamTest, ReadAllGivesEveryByteAsItIsAndNothingOnceClosed) {
  TempFolder dir;
  const std::string bytes("caf\xC3\xA9\0\x80\xFF\r\n\x1A end", 15);
  WriteFile(dir / "blob", bytes);
  const String all = Item(dir / "blob")->OpenAsTextFile()->ReadAll(TextEncoding::kNone);
  EXPECT_EQ(all.Bytes(), bytes);
  EXPECT_EQ(all.Encoding(), TextEncoding::kNone);
  const Ref<TextInputStream> closed = Item(dir / "blob")->OpenAsTextFile();
  closed->Close();
  EXPECT_EQ(closed->ReadAll(TextEncoding::kNone).Bytes(), "");
}

// The oracle is the shell itself: printf writes each word it was given and a NUL, so the output
// splits back into the paths only if each stayed one word, unchanged, and a piece of a path that
// ran would leave X in the shell's folder.
TEST(ShellPathTest, ShellsReadEveryPathBackAsExactlyOneWordAndRunNothing) {
  EXPECT_EQ(Item("/Apps/My Apps/Tolvane.app")->ShellPath().Bytes(), "/Apps/My\\ Apps/Tolvane.app");
  // Paths of any bytes but NUL, mixed with the pieces most likely to slip through quoting; the
  // seed is fixed so that a failure can be replayed.
  static const char* const kPieces[] = {"$(touch X);touch X`touch X`|touch X&touch X",
                                        "'\"\\ \t\n*?[a]{a,b}~#=$HOME",
                                        "\x01\x7F\xC3\xA9\xE2\x80\xA8\xC3\\\xE2\x80"};
  std::mt19937 random(20240611);
  std::uniform_int_distribution<int> byte(1, 300);
  std::vector<std::string> paths(400, "/");
  for (std::string& path : paths) {
    for (int n = byte(random) % 24; n >= 0; --n) {
      const int b = byte(random);
      path += b <= 255 ? std::string(1, static_cast<char>(b)) : kPieces[b % 3];
    }
  }
  std::string script = "printf '%s\\0'";
  for (const std::string& path : paths) script += " " + Item(path)->ShellPath().Bytes();
  ASSERT_EQ(setenv("QUELLMARK_SCRIPT", script.c_str(), 1), 0);
  std::vector<std::string> shells = {"/bin/sh -c"};
  if (access("/bin/bash", X_OK) == 0) shells.push_back("LC_ALL=C.UTF-8 /bin/bash --posix -c");
  for (const std::string& shell : shells) {
    TempFolder dir;
    FILE* pipe = popen(("cd " + dir.path + " && " + shell + " \"$QUELLMARK_SCRIPT\"").c_str(), "r");
    ASSERT_NE(pipe, nullptr);
    std::string output(1 << 20, '\0');
    output.resize(fread(output.data(), 1, output.size(), pipe));
    pclose(pipe);
    size_t start = 0;
    for (const std::string& path : paths) {
      const size_t end = output.find('\0', start);
      ASSERT_EQ(output.substr(start, end - start), path)
          << shell << " given " << Item(path)->ShellPath();
      start = end + 1;
    }
    EXPECT_FALSE(fs::exists(dir / "X")) << shell << " ran part of a path";
  }
  unsetenv("QUELLMARK_SCRIPT");
}

TEST(ShellTest, ExecuteRunsShWithTheInheritedEnvironmentAndGivesTheExitStatus) {
  ASSERT_EQ(setenv("QUELLMARK_SHELL_PROBE", "inherited", 1), 0);
  const std::tuple<const char*, std::string, int32_t> rows[] = {
      {"exit 3 gives 3", "exit 3", 3},
      {"a command ended by SIGTERM gives 128 + 15", "kill -TERM $$", 143},
      {"the command sees the service's environment", "test $QUELLMARK_SHELL_PROBE = inherited", 0}};
  Shell shell;
  for (const auto& [what, command, status] : rows) {
    shell.Execute(String(command));
    EXPECT_EQ(shell.ErrorCode(), status) << what;
  }
}

}  // namespace
}  // namespace quellmark
