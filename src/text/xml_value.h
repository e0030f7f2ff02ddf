// Values from the preferences' XML text, found by plain text search rather than parsing.
//
// GetXMLValue(source, key) is the text between the first "<key>" and the first "</key>" after
// it, taken as it stands (no trimming, no entities). Its rules, each kept on purpose:
//  - the first "<key>" wins; a second "<key>" ends the value, so nesting is not supported;
//  - "</key>" is looked for anywhere in source: if it occurs only before "<key>", the value runs
//    from "<key>" to the next "<key>" or the end of source;
//  - either tag missing gives "";
//  - tags match only in exactly the form "<key>", under the runtime's case rule.
// Each call is linear in the length of source.

#ifndef QUELLMARK_TEXT_XML_VALUE_H_
#define QUELLMARK_TEXT_XML_VALUE_H_

#include "runtime/string_value.h"
#include "runtime/variant.h"

namespace quellmark::GlobalMethods {

Variant GetXMLValue(const String& source, const String& key);

// The identity, kept as a step of its own between GetXMLValue and a conversion to a boolean or
// an integer: it returns the very variant it is given.
inline const Variant& ConvertVar(const Variant& value) { return value; }

}  // namespace quellmark::GlobalMethods

#endif  // QUELLMARK_TEXT_XML_VALUE_H_
