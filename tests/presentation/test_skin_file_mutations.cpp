// Damaged skin files: whatever the bytes, reading the skin's keys never crashes or hangs, a key that
// isn't in the file is never found, and a value found is a run of the file's bytes behind that key.
#include <doctest/doctest.h>
#include <windows.h>

#include <string>
#include <vector>

#include "MutationLoop.h"
#include "SkinTestSupport.h"
#include "presentation/Skin.h"
#include "presentation/SkinFile.h"

using namespace skintest;

namespace {

const char* const kKeys[] = {"BigAbcFontColor", "SmallAbcFontColor", "SmallAbcColor1", "SmallAbcColor2",
                             "TodayFontColor",  "TodayAbcColor1",    "TodayAbcColor2"};

mutation::Bytes BytesOf(const std::string& text) { return mutation::Bytes(text.begin(), text.end()); }

// The file's bytes as the reader turns them into characters: one byte, one character.
std::wstring Widened(const mutation::Bytes& bytes) {
  std::wstring text;
  for (uint8_t byte : bytes) text += static_cast<wchar_t>(byte);
  return text;
}

// Whether `value` (trimmed by the reader) stands in the file somewhere behind an occurrence of `key`.
bool StandsBehindKey(const std::wstring& file, const std::wstring& key, const std::wstring& value) {
  for (size_t at = file.find(key); at != std::wstring::npos; at = file.find(key, at + 1)) {
    if (value.empty() || file.find(value, at + key.size()) != std::wstring::npos) return true;
  }
  return false;
}

}  // namespace

TEST_CASE_FIXTURE(CleanSkin, "mutations: the skin file") {
  std::vector<mutation::Bytes> corpus;
  std::string all;
  for (const char* key : kKeys) all += std::string(key) + " = 1F2E3D\r\n";
  corpus.push_back(BytesOf(all));
  corpus.push_back(BytesOf("TodayFontColor=FF0000\nSmallAbcColor1 =   00ff00  \r\n# a remark\r\n"));
  // Keys near the end of the first 4096-byte block, and one across it.
  std::string edge(4080, 'x');
  edge += "\nTodayAbcColor2 = 123456\nBigAbcFontColor = 654321\n";
  corpus.push_back(BytesOf(edge));
  const mutation::Summary summary = mutation::Run(
      "skin-file", corpus,
      [](const mutation::Bytes& bytes, std::string& why) {
        WriteSkinFile(std::string(bytes.begin(), bytes.end()));
        const std::wstring file = Widened(bytes);
        for (const char* key : kKeys) {
          const std::wstring wideKey(key, key + strlen(key));
          Str value;
          const bool found = FindSkinValue(wideKey.c_str(), value);
          if (!found && !value.IsEmpty()) {
            why = std::string(key) + ": not found, yet a value was given";
            return false;
          }
          if (!found) continue;
          if (file.find(wideKey) == std::wstring::npos) {
            why = std::string(key) + ": found in a file that doesn't hold it";
            return false;
          }
          const std::wstring text(static_cast<const wchar_t*>(value), value.GetLength());
          if (!StandsBehindKey(file, wideKey, text)) {
            why = std::string(key) + ": the value isn't in the file behind the key";
            return false;
          }
        }
        // The colours of the whole skin, made from the same file.
        Skin skin;
        (void)skin.GetTodayFontColor();
        return true;
      },
      1500, 21);
  for (const std::string& reason : summary.firstWrong) MESSAGE(reason);
  CHECK(summary.inputs > 0);
  CHECK(summary.wrong == 0);
}
