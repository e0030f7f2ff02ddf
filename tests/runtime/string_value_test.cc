#include "runtime/string_value.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstdlib>
#include <random>
#include <string>
#include <tuple>
#include <vector>

#include "runtime/variant.h"

namespace quellmark {
namespace {

// Texts written as unit letters, where "e" and "E" stand for "\xC3\xA9" and "\xC3\x89" (é and
// É); of all units only "a" and "A", and "z" and "Z", fold together ("@" and "`" differ in the
// case bit too).
std::string Utf8(const std::string& units) {
  std::string s;
  for (char u : units) s += u == 'e' ? "\xC3\xA9" : u == 'E' ? "\xC3\x89" : std::string(1, u);
  return s;
}

TEST(StringSearch, InStrCountFieldsNthFieldAndEqualityAgreeWithAPlainScanInLinearTime) {
  std::mt19937 rng(4);
  for (int i = 0; i < 200000; ++i) {
    std::string source(rng() % 11, ' '), find(rng() % 4, ' ');
    for (char& u : source) u = "aA@`eEzZ"[rng() % 8];
    for (char& u : find) u = "aA@`eEzZ"[rng() % 8];
    const String s(Utf8(source)), f(Utf8(find));
    std::string folded_source = source, folded_find = find;
    for (std::string* folded : {&folded_source, &folded_find}) {
      std::ranges::replace(*folded, 'A', 'a');
      std::ranges::replace(*folded, 'Z', 'z');
    }
    auto next = [&](size_t from) {
      return find.empty() ? std::string::npos : folded_source.find(folded_find, from);
    };
    const auto start = static_cast<int32_t>(rng() % (source.size() + 3)) - 1;
    const size_t at = next(static_cast<size_t>(std::max(start, 1) - 1));
    ASSERT_EQ(InStr(start, s, f), at == std::string::npos ? 0 : static_cast<int32_t>(at) + 1);
    ASSERT_EQ(s == f, folded_source == folded_find);
    std::vector<std::string> fields;
    for (size_t begin = 0, sep = 0; sep != std::string::npos; begin = sep + find.size()) {
      sep = next(begin);
      fields.push_back(Utf8(source.substr(begin, sep - begin)));
    }
    ASSERT_EQ(CountFields(s, f), std::ssize(fields));
    for (int32_t n = 0; n <= std::ssize(fields) + 1; ++n) {
      const std::string field = n > 0 && n <= std::ssize(fields) ? fields.begin()[n - 1] : "";
      ASSERT_EQ(NthField(s, f, n).Bytes(), field) << n;
    }
  }
  // Borders that nest: after "aaab" fails at its "b", the match resumes from "aa", not from "a".
  EXPECT_EQ(InStr(0, "aaabaabbaaaabb", "AAABB"), 10);
  // A search that restarts at every partial match would compare some 10^12 bytes here.
  const String run(std::string(4000000, 'A')), needle(std::string(200000, 'a') + "b");
  EXPECT_EQ(InStr(0, run + needle, needle), 4000001);
  EXPECT_EQ(CountFields(run + needle + run, needle), 2);
  EXPECT_EQ(NthField(run + needle, needle, 1).Bytes(), run.Bytes());
  // Nor may a field be found by a search from the start: 4000001 fields here.
  EXPECT_EQ(CountFields(run, "a"), 4000001);
  EXPECT_EQ(NthField(run + "x", "a", 4000001).Bytes(), "x");
}

// Left and Right count characters of one to four bytes ("a", "é", "€", an emoji) from either
// end; a count of none gives "", one past the length the whole text.
TEST(StringPieces, LeftAndRightTakeWholeCharactersFromEitherEnd) {
  const String text("a\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80");
  const std::tuple<int32_t, const char*, const char*> rows[] = {
      {0, "", ""},
      {1, "a", "\xF0\x9F\x98\x80"},
      {3, "a\xC3\xA9\xE2\x82\xAC", "\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80"},
      {5, text.Bytes().c_str(), text.Bytes().c_str()}};
  for (const auto& [n, left, right] : rows) {
    EXPECT_EQ(Left(text, n).Bytes(), left) << n;
    EXPECT_EQ(Right(text, n).Bytes(), right) << n;
  }
}

// Which first two bytes begin a character of UTF-8, and of what length, from encoding every
// scalar value; with continuation bytes after them, any other lead stands alone, and so does a
// lead whose character is cut short.
TEST(StringLength, CountsOnlyWellFormedUtf8AsOneCharacter) {
  std::vector<std::array<int, 256>> length(256);  // by first and second byte; 0 for no start
  for (uint32_t c = 0x80; c <= 0x10FFFF; ++c) {
    if (c >= 0xD800 && c <= 0xDFFF) continue;
    const int n = c < 0x800 ? 2 : c < 0x10000 ? 3 : 4;
    const auto lead = (0xF00u >> n & 0xF0u) | c >> (6 * (n - 1));
    length[lead][0x80 | (c >> (6 * (n - 2)) & 0x3F)] = n;
  }
  // How many characters four bytes hold, the last two continuation bytes.
  const auto characters = [&](uint32_t lead, uint32_t second) {
    if (length[lead][second] != 0) return 1 + 4 - length[lead][second];
    const int next = length[second][0x80];
    return 1 + (next != 0 && next <= 3 ? 1 + 3 - next : 3);
  };
  for (uint32_t lead = 0; lead < 256; ++lead) {
    for (uint32_t second = 0; second < 256; ++second) {
      const std::string s{static_cast<char>(lead), static_cast<char>(second), '\x80', '\x80'};
      ASSERT_EQ(std::pair(Len(String(s)), Len(String(s.substr(0, 2)))),
                std::pair(characters(lead, second), length[lead][second] == 2 ? 1 : 2))
          << std::hex << lead << " " << second;
      // A sequence cut short by the end of the view is one byte, whatever lies beyond.
      ASSERT_EQ(CharacterLength(std::string_view(s).substr(0, 2), 0),
                length[lead][second] == 2 ? 2U : 1U);
    }
  }
}

// Over blanks, signs, digits, points, exponents and a letter that ends the number, Val reads what
// strtod reads, and VariantToInt32 the whole number that strtoll reads, saturated (9s weigh more,
// to go past any Int32 and Int64); Val reads no other form.
TEST(Val, AgreesWithStrtodAndVariantToInt32WithStrtollOnNumericLookingText) {
  std::mt19937 rng(10);
  const std::string alphabet = " \t+-.eEz01234567899999";
  for (int i = 0; i < 300000; ++i) {
    std::string s(rng() % 24, ' ');
    for (char& c : s) c = alphabet[rng() % alphabet.size()];
    ASSERT_EQ(Val(String(s)), std::strtod(s.c_str(), nullptr)) << s;
    ASSERT_EQ(VariantToInt32(Variant(String(s))),
              std::clamp<int64_t>(std::strtoll(s.c_str(), nullptr, 10), INT32_MIN, INT32_MAX));
  }
  for (const char* zero : {"0x1A", "inf", "nan", "\n5", "\v5"}) EXPECT_EQ(Val(zero), 0) << zero;
}

}  // namespace
}  // namespace quellmark
