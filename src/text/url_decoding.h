// Percent-decoding of the text values that Tolvane writes URL-encoded.

#ifndef QUELLMARK_TEXT_URL_DECODING_H_
#define QUELLMARK_TEXT_URL_DECODING_H_

#include "runtime/string_value.h"

namespace quellmark {

// Every "%" followed by two hexadecimal digits (either case) becomes the byte they spell; every
// other byte, "+" and a lone "%" included, is copied. The result is plain bytes, unlabelled.
String DecodingFromURLExt(const String& s);

namespace GlobalMethods {

// The decoded bytes of s, labelled UTF-8 (a label only: invalid UTF-8 is kept as it is).
String DecodingFromURLVelmora(const String& s);

}  // namespace GlobalMethods

}  // namespace quellmark

#endif  // QUELLMARK_TEXT_URL_DECODING_H_
