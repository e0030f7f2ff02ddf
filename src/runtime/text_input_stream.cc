#include "runtime/text_input_stream.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <string>

#include "runtime/exceptions.h"
#include "runtime/system_calls.h"

namespace quellmark {

TextInputStream::~TextInputStream() { Close(); }

String TextInputStream::ReadAll(TextEncoding encoding) {
  if (descriptor_ < 0) return String("", encoding);
  // Sized from the file's length, so a whole file is read with no copy and no slack.
  struct stat st {};
  const size_t expected = sys::FileStatus(descriptor_, &st) == 0 && st.st_size > 0
                              ? static_cast<size_t>(st.st_size)
                              : 0;
  std::string bytes(std::max<size_t>(expected + 1, 4096), '\0');
  size_t used = 0;
  for (;;) {
    if (used == bytes.size()) bytes.resize(bytes.size() * 2);
    const ssize_t got = sys::Read(descriptor_, bytes.data() + used, bytes.size() - used);
    if (got == 0) break;
    if (got < 0) {
      if (errno == EINTR) continue;
      throw IOException("read", "text file", errno);
    }
    used += static_cast<size_t>(got);
  }
  bytes.resize(used);
  return String(std::move(bytes), encoding);
}

void TextInputStream::Close() {
  if (descriptor_ >= 0) {
    close(descriptor_);
    descriptor_ = -1;
  }
}

}  // namespace quellmark
