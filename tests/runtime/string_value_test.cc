#include "runtime/string_value.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <cstdint>
#include <cstdlib>
#include <random>
#include <string>
#include <vector>

namespace quellmark {
namespace {

// Characters counted the long way: decode each sequence to its code point and accept it only as
// the shortest form of a Unicode scalar value; anything else is one byte, one character.
int32_t CharactersDecoded(const std::string& s) {
  constexpr uint32_t kSmallest[] = {0, 0, 0x80, 0x800, 0x10000};
  int32_t count = 0;
  for (size_t i = 0; i < s.size(); ++count) {
    const auto ones = static_cast<size_t>(std::countl_one(static_cast<unsigned char>(s[i])));
    const size_t n = ones >= 2 && ones <= 4 ? ones : 1;
    uint32_t code = static_cast<unsigned char>(s[i]) & (0x7Fu >> n);
    bool ok = n > 1 && i + n <= s.size();
    for (size_t k = 1; ok && k < n; ++k) {
      ok = (static_cast<unsigned char>(s[i + k]) & 0xC0) == 0x80;
      code = code << 6 | (static_cast<unsigned char>(s[i + k]) & 0x3F);
    }
    i += ok && code >= kSmallest[n] && code <= 0x10FFFF && (code < 0xD800 || code > 0xDFFF) ? n : 1;
  }
  return count;
}

TEST(StringCharacters, LenLeftAndRightAgreeWithADecoderOnRandomBytes) {
  std::mt19937 rng(8);
  for (int i = 0; i < 200000; ++i) {
    std::string bytes(rng() % 10, ' ');
    for (char& c : bytes) c = static_cast<char>(rng() % 3 ? 0x80 + rng() % 0x80 : 'a');
    const String s(bytes);
    const int32_t len = Len(s);
    ASSERT_EQ(len, CharactersDecoded(bytes)) << testing::PrintToString(bytes);
    for (int32_t k = -1; k <= len + 1; ++k) {
      ASSERT_EQ(Len(Left(s, k)), std::clamp(k, 0, len));
      ASSERT_EQ(Left(s, k).Bytes() + Right(s, len - k).Bytes(), bytes);
    }
  }
}

// Texts written as unit letters, where "e" and "E" stand for "\xC3\xA9" and "\xC3\x89" (é and
// É); of all units only "a" and "A" fold together ("@" and "`" differ in the case bit too).
std::string Utf8(const std::string& units) {
  std::string s;
  for (char u : units) s += u == 'e' ? "\xC3\xA9" : u == 'E' ? "\xC3\x89" : std::string(1, u);
  return s;
}

TEST(StringSearch, InStrCountFieldsNthFieldAndEqualityAgreeWithAPlainScan) {
  std::mt19937 rng(4);
  for (int i = 0; i < 200000; ++i) {
    std::string source(rng() % 11, ' '), find(rng() % 4, ' ');
    for (char& u : source) u = "aA@`eE"[rng() % 6];
    for (char& u : find) u = "aA@`eE"[rng() % 6];
    const String s(Utf8(source)), f(Utf8(find));
    std::string folded_source = source, folded_find = find;
    std::replace(folded_source.begin(), folded_source.end(), 'A', 'a');
    std::replace(folded_find.begin(), folded_find.end(), 'A', 'a');
    auto next = [&](size_t from) {
      return find.empty() ? std::string::npos : folded_source.find(folded_find, from);
    };
    const auto start = static_cast<int32_t>(rng() % (source.size() + 3)) - 1;
    const size_t at = next(static_cast<size_t>(std::max(start, 1) - 1));
    ASSERT_EQ(InStr(start, s, f), at == std::string::npos ? 0 : static_cast<int32_t>(at) + 1);
    ASSERT_EQ(s == f, folded_source == folded_find);
    std::vector<std::string> fields;
    size_t begin = 0;
    for (size_t sep = next(0); sep != std::string::npos; sep = next(begin)) {
      fields.push_back(Utf8(source.substr(begin, sep - begin)));
      begin = sep + find.size();
    }
    fields.push_back(Utf8(source.substr(begin)));
    ASSERT_EQ(CountFields(s, f), static_cast<int32_t>(fields.size()));
    for (size_t n = 0; n <= fields.size() + 1; ++n) {
      ASSERT_EQ(NthField(s, f, static_cast<int32_t>(n)).Bytes(),
                n >= 1 && n <= fields.size() ? fields[n - 1] : "");
    }
  }
}

// A search that restarts at every partial match would compare some 10^12 bytes here.
TEST(StringSearch, PathologicalInputsAreScannedInLinearTime) {
  const String run(std::string(4000000, 'A')), needle(std::string(200000, 'a') + "b");
  EXPECT_EQ(InStr(0, run + needle, needle), 4000001);
  EXPECT_EQ(CountFields(run + needle + run, needle), 2);
  EXPECT_EQ(NthField(run + needle, needle, 1).Bytes(), run.Bytes());
  const String separators(std::string(1000000, ';') + "x");
  EXPECT_EQ(CountFields(separators, ";"), 1000001);
  EXPECT_EQ(NthField(separators, ";", 1000001).Bytes(), "x");
}

// Over blanks, signs, digits, points and exponents, Val reads what strtod reads.
TEST(Val, AgreesWithStrtodOnNumericLookingTextAndReadsNoOtherForm) {
  std::mt19937 rng(10);
  const std::string alphabet = " \t+-.eE0123456789";
  for (int i = 0; i < 300000; ++i) {
    std::string s(rng() % 12, ' ');
    for (char& c : s) c = alphabet[rng() % alphabet.size()];
    ASSERT_EQ(Val(String(s)), std::strtod(s.c_str(), nullptr)) << s;
  }
  for (const char* zero : {"0x1A", "inf", "nan", "\n5", "\v5"}) EXPECT_EQ(Val(zero), 0) << zero;
  EXPECT_TRUE(Val("1e999") == HUGE_VAL && Val("-1e999") == -HUGE_VAL && Val(" 2e") == 2);
  for (int32_t i : {0, 6, -1, INT32_MAX, INT32_MIN}) EXPECT_EQ(Val(Str(i)), i);
}

}  // namespace
}  // namespace quellmark
