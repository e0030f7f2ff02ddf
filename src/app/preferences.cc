#include "app/preferences.h"

#include <string>
#include <string_view>

#include "runtime/caseless_search.h"
#include "runtime/folder_item.h"
#include "runtime/special_folder.h"
#include "runtime/text_input_stream.h"
#include "text/xml_value.h"

namespace quellmark {

Ref<FolderItem> PreferencesFile() { return PreferencesFolder()->Child(kPreferencesFileName); }

PreferencesOutcome ReadPreferenceSettings(const Ref<FolderItem>& file, String& settings) {
  if (file == nullptr || !file->Exists()) return PreferencesOutcome::kNotFound;
  const Ref<TextInputStream> stream = file->OpenAsTextFile();
  if (stream == nullptr) return PreferencesOutcome::kNotOpenable;
  // Only the settings outlive this statement; the whole text is dropped at once.
  settings = SettingText(stream->ReadAll(TextEncoding::kNone), "settings");
  stream->Close();
  return PreferencesOutcome::kRead;
}

String SettingText(const String& settings, const String& key) {
  return VariantToString(GlobalMethods::GetXMLValue(settings, key));
}

namespace {

const CaselessSearcher& ItemOpening() {
  static const CaselessSearcher searcher("<item>");  // GCOVR_EXCL_BR_LINE: a local static's guard
  return searcher;
}

}  // namespace

bool HasItemBlocks(const String& list) {
  return ItemOpening().Find(list.Bytes()) != std::string_view::npos;
}

void ForEachItemBlock(const String& list, const std::function<void(const String&)>& visit) {
  const CaselessSearcher& opening = ItemOpening();
  static const CaselessSearcher closing("</item>");  // GCOVR_EXCL_BR_LINE: a local static's guard
  const std::string_view text = list.Bytes();
  for (size_t at = opening.Find(text); at != std::string_view::npos;) {
    const size_t begin = at + opening.size();
    const size_t next = opening.Find(text, begin);
    const std::string_view field =
        text.substr(begin, next == std::string_view::npos ? std::string_view::npos : next - begin);
    visit(String(std::string(field.substr(0, closing.Find(field))), list.Encoding()));
    at = next;
  }
}

}  // namespace quellmark
