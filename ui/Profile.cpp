#include "ui/Profile.h"

#include <windows.h>

#include "platform/Wide_win.h"

namespace tolvane {

namespace {

constexpr wchar_t kRecentFiles[] = L"\\Recent File List";
constexpr wchar_t kSettings[] = L"\\Settings";
constexpr wchar_t kPlaceName[] = L"WindowPlace";
constexpr wchar_t kRulesName[] = L"Rules";
constexpr wchar_t kEngineName[] = L"Engine";
constexpr wchar_t kValuesName[] = L"Values";
constexpr std::u16string_view kExactWord = u"exact", kStandardWord = u"standard";
constexpr std::u16string_view kOwnWord = u"built-in", kInstalledWord = u"installed";
constexpr std::u16string_view kLocalWord = u"local", kPlainWord = u"plain";

std::wstring FileName(size_t index) {
  return L"File" + std::to_wstring(index + 1);
}

std::optional<std::u16string> ReadText(const std::wstring& key, const std::wstring& name) {
  std::wstring text(32768, L'\0');
  auto bytes = static_cast<DWORD>(text.size() * sizeof(wchar_t));
  if (RegGetValueW(HKEY_CURRENT_USER, key.c_str(), name.c_str(), RRF_RT_REG_SZ, nullptr, text.data(),
                   &bytes) != ERROR_SUCCESS)
    return std::nullopt;
  return FromWide(text.c_str());
}

void WriteText(const std::wstring& key, const std::wstring& name, const std::u16string& text) {
  const std::wstring wide = ToWide(text);
  RegSetKeyValueW(HKEY_CURRENT_USER, key.c_str(), name.c_str(), REG_SZ, wide.c_str(),
                  static_cast<DWORD>((wide.size() + 1) * sizeof(wchar_t)));
}

}  // namespace

void CProfile::SetKey(std::u16string_view maker) {
  m_key = L"Software\\" + ToWide(maker) + L"\\TolvaneForAccess";
}

std::vector<std::u16string> CProfile::Load() {
  std::vector<std::u16string> paths;
  for (size_t i = 0; i < CRecentFiles::kMaximum; ++i)
    if (const auto path = ReadText(m_key + kRecentFiles, FileName(i))) paths.push_back(*path);
  return paths;
}

void CProfile::Save(const std::vector<std::u16string>& paths) {
  const std::wstring key = m_key + kRecentFiles;
  for (size_t i = 0; i < CRecentFiles::kMaximum; ++i) {
    if (i < paths.size())
      WriteText(key, FileName(i), paths[i]);
    else
      RegDeleteKeyValueW(HKEY_CURRENT_USER, key.c_str(), FileName(i).c_str());
  }
}

std::optional<SWindowPlace> CProfile::LoadPlace() const {
  const auto text = ReadText(m_key + kSettings, kPlaceName);
  return text ? ParseWindowPlace(*text) : std::nullopt;
}

void CProfile::SavePlace(const SWindowPlace& place) const {
  WriteText(m_key + kSettings, kPlaceName, FormatWindowPlace(place));
}

SSettings CProfile::LoadSettings(SSettings settings) const {
  const std::wstring key = m_key + kSettings;
  settings.rules = ReadText(key, kRulesName) == kStandardWord ? ERules::Standard : kDefaultRules;
  settings.usesInstalledEngine = ReadText(key, kEngineName) == kInstalledWord;
  settings.showsLocally = ReadText(key, kValuesName) != kPlainWord;
  return settings;
}

void CProfile::SaveSettings(const SSettings& settings) const {
  const std::wstring key = m_key + kSettings;
  const auto save = [&key](const wchar_t* name, std::u16string_view word) {
    WriteText(key, name, std::u16string(word));
  };
  save(kRulesName, settings.rules == ERules::Standard ? kStandardWord : kExactWord);
  save(kEngineName, settings.usesInstalledEngine ? kInstalledWord : kOwnWord);
  save(kValuesName, settings.showsLocally ? kLocalWord : kPlainWord);
}

}  // namespace tolvane
