// Caseless byte search under the runtime's one case rule (ASCII letters match either case).
// Linear in the haystack whatever the needle: a Knuth-Morris-Pratt scan, with a quick skip to
// the needle's first byte while nothing is matched.

#ifndef QUELLMARK_RUNTIME_CASELESS_SEARCH_H_
#define QUELLMARK_RUNTIME_CASELESS_SEARCH_H_

#include <string>
#include <string_view>
#include <vector>

namespace quellmark {

inline char FoldCase(char c) { return (c >= 'A' && c <= 'Z') ? static_cast<char>(c + 32) : c; }

bool CaselessEqual(std::string_view a, std::string_view b);

class CaselessSearcher {
 public:
  explicit CaselessSearcher(std::string_view needle);

  // Byte offset of the first occurrence at or after from; npos when there is none. An empty
  // needle never occurs.
  size_t Find(std::string_view haystack, size_t from = 0) const;
  size_t size() const { return needle_.size(); }

 private:
  size_t FindFromLoneFirst(std::string_view haystack, size_t from) const;

  std::string needle_;          // folded
  bool first_is_lone_ = false;  // its first byte has no case and occurs nowhere else in it
  std::vector<size_t> border_;  // border_[k]: longest proper border of needle_[0, k + 1)
};

}  // namespace quellmark

#endif  // QUELLMARK_RUNTIME_CASELESS_SEARCH_H_
