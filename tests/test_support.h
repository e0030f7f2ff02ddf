// Helpers the tests and fuzz targets share: a scratch folder, a saved tag, and an alarm's
// properties as text so that records can be compared property by property through the property
// table.

#ifndef QUELLMARK_TESTS_TEST_SUPPORT_H_
#define QUELLMARK_TESTS_TEST_SUPPORT_H_

#include <stdlib.h>

#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <string>
#include <system_error>
#include <variant>

#include "alarm/alarm_item.h"

namespace quellmark {

// A folder every user may pass through, for files that a test's unprivileged user must reach
// wherever the clone lies: in memory when the system offers it.
inline std::filesystem::path SharedScratch() {
  return std::filesystem::is_directory("/dev/shm") ? "/dev/shm" : "/tmp";
}

// A fresh folder under parent (the temporary folder by default), removed with everything in it.
struct TempFolder {
  explicit TempFolder(const std::filesystem::path& parent = std::filesystem::temp_directory_path())
      : path((parent / "quellmark-XXXXXX").string()) {
    if (mkdtemp(path.data()) == nullptr)
      throw std::filesystem::filesystem_error("mkdtemp", parent, {errno, std::generic_category()});
  }
  std::string path;
  TempFolder(const TempFolder&) = delete;
  TempFolder& operator=(const TempFolder&) = delete;
  ~TempFolder() {
    std::error_code ignored;
    std::filesystem::remove_all(path, ignored);
  }
  std::string operator/(const std::string& name) const { return path + "/" + name; }
};

// A setting or a field as the preferences file saves it.
inline std::string Tag(const std::string& name, const std::string& value) {
  return "<" + name + ">" + value + "</" + name + ">";
}

namespace property_text {
inline std::string Of(const String& s) { return s.Bytes(); }
inline std::string Of(const Ref<FolderItem>& item) {
  return item == nullptr ? "nil" : item->Path();
}
inline std::string Of(const Ref<Array<bool>>& flags) {
  std::string digits;
  for (int32_t i = 0; i <= flags->UBound(); ++i) digits += flags->Get(i) ? '1' : '0';
  return digits;
}
inline std::string Of(double value) {  // exact: every double reads back as itself
  char text[32];
  std::snprintf(text, sizeof text, "%.17g", value);
  return text;
}
inline std::string Of(auto value) { return std::to_string(value); }
}  // namespace property_text

// A property's value as text: flag arrays one digit per element, folder items by path.
inline std::string PropertyText(const AlarmItem& item, const PropertyInfo& property) {
  return std::visit([&](auto member) { return property_text::Of(item.*member); }, property.member);
}

// Every property, in declared order, each ended by a NUL.
inline std::string RecordText(const AlarmItem& item) {
  std::string text;
  for (const PropertyInfo& property : kAlarmItemProperties) {
    text += PropertyText(item, property) + '\0';
  }
  return text;
}

}  // namespace quellmark

#endif  // QUELLMARK_TESTS_TEST_SUPPORT_H_
