#include "text/xml_value.h"

#include <algorithm>
#include <string>
#include <string_view>

#include "runtime/caseless_search.h"

namespace quellmark::GlobalMethods {

Variant GetXMLValue(const String& source, const String& key) {
  const std::string_view text = source.Bytes();
  const auto value = [&source, text](size_t begin, size_t end) {
    return Variant(String(std::string(text.substr(begin, end - begin)), source.Encoding()));
  };
  const CaselessSearcher opening("<" + key.Bytes() + ">");
  const CaselessSearcher closing("</" + key.Bytes() + ">");
  const size_t opening_at = opening.Find(text);
  if (opening_at == std::string_view::npos) return value(0, 0);

  // The field runs from the end of the first opening tag to the next opening tag or the end.
  // Rather than find that next opening tag, which may mean reading to the end, look for it
  // only where it could cut off the first closing tag after the field's start.
  const size_t begin = opening_at + opening.size();
  const size_t closing_at = closing.Find(text, begin);
  if (closing_at != std::string_view::npos) {
    const size_t closing_end = closing_at + closing.size();
    const size_t next_opening = opening.Find(
        text.substr(0, std::min(text.size(), closing_end - 1 + opening.size())), begin);
    if (next_opening == std::string_view::npos || next_opening >= closing_end) {
      return value(begin, closing_at);
    }
    return value(begin, next_opening);  // the closing tag lies beyond the field
  }
  // No closing tag after the opening one: the value is the whole field if one stands before.
  if (closing.Find(text) == std::string_view::npos) return value(0, 0);
  const size_t next_opening = opening.Find(text, begin);
  return value(begin, next_opening == std::string_view::npos ? text.size() : next_opening);
}

}  // namespace quellmark::GlobalMethods
