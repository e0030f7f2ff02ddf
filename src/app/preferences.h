// Tolvane's preferences file, read only: finding and reading it, the settings the service takes
// from it, and the cutting of its alarm list into one block per alarm.
//
// Every value is found by GetXMLValue's tag rule inside the "settings" element; an absent value
// is never an error, it reads as "" (and so as 0 for numbers).

#ifndef QUELLMARK_APP_PREFERENCES_H_
#define QUELLMARK_APP_PREFERENCES_H_

#include <functional>

#include "runtime/folder_item.h"
#include "runtime/ref.h"
#include "runtime/string_value.h"

namespace quellmark {

inline constexpr const char* kPreferencesFileName = "com.velmora.Tolvane.xml";

enum class PreferencesOutcome { kRead, kNotFound, kNotOpenable };

// The user's preferences file, whether or not it exists; nil when the folder cannot hold it. A
// missing preferences folder throws NilObjectException.
Ref<FolderItem> PreferencesFile();

// Reads file (nil: not found) once, whole, and closes it; on kRead, settings holds the text of its
// "settings" element and nothing else of the file is kept.
PreferencesOutcome ReadPreferenceSettings(const Ref<FolderItem>& file, String& settings);

// A setting's text as it stands (not decoded).
String SettingText(const String& settings, const String& key);

// Whether list holds an item block at all, that is CountFields(list, "<item>") > 1; the search
// stops at the first "<item>".
bool HasItemBlocks(const String& list);

// Calls visit with the block of every alarm of list, in order: the text after each "<item>" up
// to the next "<item>", cut at its first "</item>". Text before the first "<item>" and after an
// item's "</item>" is ignored. Each block is exactly NthField(NthField(list, "<item>", i),
// "</item>", 1) for i from 2 to CountFields(list, "<item>"), but the whole walk is one pass.
void ForEachItemBlock(const String& list, const std::function<void(const String&)>& visit);

}  // namespace quellmark

#endif  // QUELLMARK_APP_PREFERENCES_H_
