// TextInputStream: a reader over an opened file; it owns the descriptor and closes it on Close
// or when the last reference goes.

#ifndef QUELLMARK_RUNTIME_TEXT_INPUT_STREAM_H_
#define QUELLMARK_RUNTIME_TEXT_INPUT_STREAM_H_

#include "runtime/string_value.h"

namespace quellmark {

class TextInputStream {
 public:
  static constexpr const char* kClassName = "TextInputStream";

  explicit TextInputStream(int descriptor) : descriptor_(descriptor) {}
  TextInputStream(const TextInputStream&) = delete;
  TextInputStream& operator=(const TextInputStream&) = delete;
  ~TextInputStream();

  // The whole remaining content, bytes as they are, labelled with encoding (kNone for none).
  // "" once closed. A read error throws IOException.
  String ReadAll(TextEncoding encoding);
  void Close();

 private:
  int descriptor_;
};

}  // namespace quellmark

#endif  // QUELLMARK_RUNTIME_TEXT_INPUT_STREAM_H_
