#include "text/tag_index.h"

#include <algorithm>
#include <bit>
#include <cstring>

#include "runtime/caseless_search.h"
#include "text/xml_value.h"

namespace quellmark {

namespace {

constexpr size_t kNone = std::string_view::npos;

size_t FindByte(std::string_view text, char byte, size_t from, size_t to) {
  const void* hit = std::memchr(text.data() + from, byte, to - from);
  return hit == nullptr ? kNone : static_cast<size_t>(static_cast<const char*>(hit) - text.data());
}

}  // namespace

TagSet::TagSet(const std::vector<std::string>& keys)
    : folded_keys_(keys.size()), key_sizes_(keys.size(), 0) {
  size_t slot_count = 8;
  while (slot_count < keys.size() * 4) slot_count *= 2;
  slots_.assign(slot_count, -1);
  shift_ = 64 - std::countr_zero(slot_count);
  for (size_t id = 0; id < keys.size(); ++id) {
    const std::string& key = keys[id];
    if (key.find_first_of("<>") != std::string::npos || Find(key) >= 0) continue;
    std::string& folded = folded_keys_[id];
    folded = key;
    for (char& c : folded) c = FoldCase(c);
    size_t slot = Hash(key) >> shift_;
    while (slots_[slot] >= 0) slot = (slot + 1) & (slot_count - 1);
    slots_[slot] = static_cast<int32_t>(id);
    key_sizes_[id] = key.size();
    longest_ = std::max(longest_, key.size());
    has_key_starting_with_slash_ |= !key.empty() && key.front() == '/';
  }
}

int32_t TagSet::Find(std::string_view key) const {
  if (key.size() > longest_) return -1;
  for (size_t slot = Hash(key) >> shift_;; slot = (slot + 1) & (slots_.size() - 1)) {
    const int32_t id = slots_[slot];
    if (id < 0) return -1;
    const std::string& folded = folded_keys_[static_cast<size_t>(id)];
    if (folded.size() == key.size() &&
        std::equal(key.begin(), key.end(), folded.begin(),
                   [](char a, char folded_char) { return FoldCase(a) == folded_char; })) {
      return id;
    }
  }
}

// Hashes the length and the first and last eight bytes with every byte's 0x20 bit set, which
// strings equal under the case rule share; it is cheap, and tags differ at their ends.
uint64_t TagSet::Hash(std::string_view key) {
  constexpr uint64_t kCaseBits = 0x2020202020202020ULL;
  uint64_t head = 0;
  uint64_t tail = 0;
  if (key.size() >= 8) {
    std::memcpy(&head, key.data(), 8);
    std::memcpy(&tail, key.data() + key.size() - 8, 8);
  } else {
    std::memcpy(&head, key.data(), key.size());
  }
  uint64_t h = (head | kCaseBits) ^ std::rotl(tail | kCaseBits, 29) ^ key.size();
  h = (h ^ (h >> 32)) * 0xFF51AFD7ED558CCDULL;  // spread every input bit over the top bits
  return (h ^ (h >> 29)) * 0xC4CEB9FE1A85EC53ULL;
}

TagIndex::TagIndex(const TagSet& tags, const String& text)
    : tags_(tags), text_(text), occurrences_(tags.size()) {
  // A tag "<k>" with k free of "<" and ">" is a "<" whose next ">" comes before any other "<",
  // with k in between; "</k>" is the same with "/k". So one walk from each "<" to the next
  // finds every tag the set can hold, and reads each byte at most twice.
  const std::string_view s = text.Bytes();
  size_t at = FindByte(s, '<', 0, s.size());
  while (at != kNone) {
    const size_t next = FindByte(s, '<', at + 1, s.size());
    const size_t end = FindByte(s, '>', at + 1, next == kNone ? s.size() : next);
    if (end != kNone) Record(s.substr(at + 1, end - at - 1), at);
    at = next;
  }
}

void TagIndex::Record(std::string_view content, size_t at) {
  // Scanning forward, the first closing seen once an opening is known is the first after it.
  if (!content.empty() && content.front() == '/') {
    const int32_t id = tags_.Find(content.substr(1));
    if (id >= 0) {
      Occurrences& o = occurrences_[static_cast<size_t>(id)];
      o.any_closing = true;
      if (o.first_opening != kNone && o.first_closing_after_opening == kNone) {
        o.first_closing_after_opening = at;
      }
    }
    if (!tags_.HasKeyStartingWithSlash()) return;
  }
  const int32_t id = tags_.Find(content);
  if (id < 0) return;
  Occurrences& o = occurrences_[static_cast<size_t>(id)];
  if (o.first_opening == kNone) {
    o.first_opening = at;
  } else if (o.second_opening == kNone) {
    o.second_opening = at;
  }
}

Variant TagIndex::Value(std::string_view key) const {
  const int32_t id = tags_.Find(key);
  if (id < 0) return GlobalMethods::GetXMLValue(text_, String(std::string(key)));
  return Value(id);
}

Variant TagIndex::Value(int32_t id) const {
  const Occurrences& o = occurrences_[static_cast<size_t>(id)];
  const std::string& s = text_.Bytes();
  if (o.first_opening == kNone || !o.any_closing) return Variant(String("", text_.Encoding()));
  // The value runs to the first closing tag inside the field (which ends at the next opening
  // tag), or over the whole field when the only closing tags stand elsewhere.
  const size_t begin = o.first_opening + tags_.KeySize(id) + 2;
  const size_t field_end = o.second_opening == kNone ? s.size() : o.second_opening;
  const size_t end = std::min(field_end, o.first_closing_after_opening);
  return Variant(String(s.substr(begin, end - begin), text_.Encoding()));
}

}  // namespace quellmark
