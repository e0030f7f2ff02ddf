// Baseline for the search of the Applications folder: a breadth-first readdir walk that enters
// real folders only (not links, not packages by the service's own extension list) and prints
// the number of entries it saw.

#include <dirent.h>

#include <cstdio>
#include <deque>
#include <string>
#include <string_view>

#include "runtime/kind_ext.h"

int main(int argc, char** argv) {
  if (argc != 2) return 2;
  std::deque<std::string> folders = {argv[1]};
  long entries = 0;
  while (!folders.empty()) {
    DIR* dir = opendir(folders.front().c_str());
    if (dir != nullptr) {
      while (const dirent* entry = readdir(dir)) {
        const std::string_view name = entry->d_name;
        if (name == "." || name == "..") continue;
        ++entries;
        if (entry->d_type == DT_DIR && !quellmark::HasPackageExtension(entry->d_name)) {
          folders.push_back(folders.front() + "/" + entry->d_name);
        }
      }
      closedir(dir);
    }
    folders.pop_front();
  }
  std::printf("%ld\n", entries);
  return 0;
}
