#include "text/xml_value.h"

#include <string>
#include <string_view>

#include "runtime/caseless_search.h"

namespace quellmark::GlobalMethods {

Variant GetXMLValue(const String& source, const String& key) {
  const std::string_view text = source.Bytes();
  const CaselessSearcher opening("<" + key.Bytes() + ">");
  const size_t opening_at = opening.Find(text);
  if (opening_at == std::string_view::npos) return Variant(String("", source.Encoding()));

  // The field runs from the end of the first opening tag to the next opening tag or the end.
  const size_t field_begin = opening_at + opening.size();
  const size_t next_opening = opening.Find(text, field_begin);
  const std::string_view field =
      text.substr(field_begin, next_opening == std::string_view::npos ? std::string_view::npos
                                                                      : next_opening - field_begin);

  const CaselessSearcher closing("</" + key.Bytes() + ">");
  const size_t closing_in_field = closing.Find(field);
  if (closing_in_field != std::string_view::npos) {
    return Variant(String(std::string(field.substr(0, closing_in_field)), source.Encoding()));
  }
  // No closing tag inside the field: the value is the whole field if one stands anywhere else.
  if (closing.Find(text) == std::string_view::npos) return Variant(String("", source.Encoding()));
  return Variant(String(std::string(field), source.Encoding()));
}

}  // namespace quellmark::GlobalMethods
