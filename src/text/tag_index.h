// A one-pass index of a fixed set of tags in one text, for reading many values out of one block
// without a scan of the block per value.
//
// TagIndex(tags, text).Value(key) is always exactly GetXMLValue(text, key). For a key of the
// set it is answered from what one pass over the text recorded; any other key is handed to
// GetXMLValue itself. Building is linear in the text and needs no allocation per tag found.

#ifndef QUELLMARK_TEXT_TAG_INDEX_H_
#define QUELLMARK_TEXT_TAG_INDEX_H_

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "runtime/string_value.h"
#include "runtime/variant.h"

namespace quellmark {

// The keys an index records, each numbered by its place in the list given.
class TagSet {
 public:
  // Keys holding "<" or ">" are left out of the index (they still get GetXMLValue's answer),
  // and so is a key equal to another under the case rule, after its first spelling.
  explicit TagSet(const std::vector<std::string>& keys);

  // The number of a key (caseless), or -1 when it is not indexed.
  int32_t Find(std::string_view key) const;
  size_t size() const { return key_sizes_.size(); }
  size_t KeySize(int32_t id) const { return key_sizes_[static_cast<size_t>(id)]; }
  // Whether some key starts with "/", so that a closing tag may also be an opening one.
  bool HasKeyStartingWithSlash() const { return has_key_starting_with_slash_; }

 private:
  // An open-addressed table of the folded keys, a few times larger than the set; lookups fold
  // as they compare, so the key looked up is never copied.
  static uint64_t Hash(std::string_view key);
  std::vector<std::string> folded_keys_;  // by id
  std::vector<int32_t> slots_;            // key ids, -1 for an empty slot
  int shift_ = 64;                        // hash bits beyond the table's size
  std::vector<size_t> key_sizes_;         // by id; 0 for a key that is not indexed
  size_t longest_ = 0;
  bool has_key_starting_with_slash_ = false;
};

class TagIndex {
 public:
  // Both tags and text must outlive the index: neither is copied.
  TagIndex(const TagSet& tags, const String& text);

  Variant Value(std::string_view key) const;
  // The value of the key numbered id in the set (as TagSet::Find gives it), without a lookup.
  Variant Value(int32_t id) const;

 private:
  // Where a key's tags first stand: what GetXMLValue's searches would find.
  struct Occurrences {
    size_t first_opening = std::string_view::npos;
    size_t second_opening = std::string_view::npos;
    size_t first_closing_after_opening = std::string_view::npos;
    bool any_closing = false;
  };

  void Record(std::string_view content, size_t at);

  const TagSet& tags_;
  const String& text_;
  std::vector<Occurrences> occurrences_;  // by key id
};

}  // namespace quellmark

#endif  // QUELLMARK_TEXT_TAG_INDEX_H_
