// Baseline for loading the preferences: read the file whole, as the service does, and count "<"
// in one pass.

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <string>

int main(int argc, char** argv) {
  if (argc != 2) return 2;
  const int file = open(argv[1], O_RDONLY);
  struct stat st {};
  if (file < 0 || fstat(file, &st) != 0) return 1;
  std::string text(static_cast<size_t>(st.st_size), '\0');
  size_t done = 0;
  while (done < text.size()) {
    const ssize_t got = read(file, text.data() + done, text.size() - done);
    if (got <= 0) return 1;
    done += static_cast<size_t>(got);
  }
  close(file);
  std::printf("%td\n", std::count(text.begin(), text.end(), '<'));
  return 0;
}
