#include "runtime/caseless_search.h"

#include <cstring>

namespace quellmark {

namespace {

bool IsAsciiLetter(char c) { return FoldCase(c) >= 'a' && FoldCase(c) <= 'z'; }

}  // namespace

bool CaselessEqual(std::string_view a, std::string_view b) {
  if (a.size() != b.size()) return false;
  for (size_t i = 0; i < a.size(); ++i) {
    if (FoldCase(a[i]) != FoldCase(b[i])) return false;
  }
  return true;
}

CaselessSearcher::CaselessSearcher(std::string_view needle) : needle_(needle) {
  for (char& c : needle_) c = FoldCase(c);
  border_.assign(needle_.size(), 0);
  size_t k = 0;
  for (size_t i = 1; i < needle_.size(); ++i) {
    while (k > 0 && needle_[i] != needle_[k]) k = border_[k - 1];
    if (needle_[i] == needle_[k]) ++k;
    border_[i] = k;
  }
  first_is_lone_ = !needle_.empty() && !IsAsciiLetter(needle_[0]) &&
                   needle_.find(needle_[0], 1) == std::string::npos;
}

size_t CaselessSearcher::Find(std::string_view haystack, size_t from) const {
  const size_t m = needle_.size();
  const size_t n = haystack.size();
  if (m == 0 || from > n || n - from < m) return std::string_view::npos;
  const char first = needle_[0];
  if (first_is_lone_) return FindFromLoneFirst(haystack, from);
  const bool first_has_case = IsAsciiLetter(first);
  size_t k = 0;
  for (size_t i = from; i < n; ++i) {
    if (k == 0) {
      // Nothing matched yet: jump to the next byte that can start a match.
      if (first_has_case) {
        while (i < n && FoldCase(haystack[i]) != first) ++i;
      } else {
        const void* hit = std::memchr(haystack.data() + i, first, n - i);
        i = hit == nullptr ? n
                           : static_cast<size_t>(static_cast<const char*>(hit) - haystack.data());
      }
      if (n - i < m) return std::string_view::npos;
      k = 1;
    } else {
      const char c = FoldCase(haystack[i]);
      while (k > 0 && c != needle_[k]) k = border_[k - 1];
      if (c == needle_[k]) ++k;
    }
    if (k == m) return i + 1 - m;
  }
  return std::string_view::npos;
}

// Tags such as "<item>": jump from one candidate first byte to the next and compare. A failed
// comparison can resume after the bytes it matched, none of which can start a match, so this
// stays linear.
size_t CaselessSearcher::FindFromLoneFirst(std::string_view haystack, size_t from) const {
  const size_t m = needle_.size();
  const size_t n = haystack.size();
  size_t i = from;
  while (n - i >= m) {
    const void* hit = std::memchr(haystack.data() + i, needle_[0], n - i - m + 1);
    if (hit == nullptr) return std::string_view::npos;
    const auto at = static_cast<size_t>(static_cast<const char*>(hit) - haystack.data());
    size_t k = 1;
    while (k < m && FoldCase(haystack[at + k]) == needle_[k]) ++k;
    if (k == m) return at;
    i = at + k;
  }
  return std::string_view::npos;
}

}  // namespace quellmark
