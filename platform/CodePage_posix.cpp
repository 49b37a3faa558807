#include <errno.h>
#include <iconv.h>

#include <array>
#include <bit>
#include <cstdint>
#include <string>
#include <utility>

#include "platform/CodePage.h"
#include "platform/CodePageSystem.h"

namespace tolvane {

namespace {

const char* const kUtf16 = std::endian::native == std::endian::little ? "UTF-16LE" : "UTF-16BE";

// Code pages whose converter is not called "CP" and the number.
constexpr std::array<std::pair<uint32_t, const char*>, 21> kConverterNames = {{
    {708, "ASMO-708"},       {936, "GBK"},          {949, "UHC"},           {950, "BIG5"},
    {1361, "JOHAB"},         {10000, "MACINTOSH"},  {20127, "US-ASCII"},    {20866, "KOI8-R"},
    {21866, "KOI8-U"},       {28591, "ISO-8859-1"}, {28592, "ISO-8859-2"},  {28593, "ISO-8859-3"},
    {28594, "ISO-8859-4"},   {28595, "ISO-8859-5"}, {28596, "ISO-8859-6"},  {28597, "ISO-8859-7"},
    {28598, "ISO-8859-8"},   {28599, "ISO-8859-9"}, {28603, "ISO-8859-13"}, {28605, "ISO-8859-15"},
    {10007, "MAC-CYRILLIC"},
}};

std::string ConverterName(uint32_t codePage) {
  for (const auto& [number, name] : kConverterNames) {
    if (number == codePage) return name;
  }
  return "CP" + std::to_string(codePage);
}

}  // namespace

struct CSystemCodePage::SState {
  // Owns one conversion descriptor.
  class CConverter {
   public:
    CConverter(const char* to, const char* from) : m_descriptor(iconv_open(to, from)) {}
    ~CConverter() {
      if (IsOpen()) iconv_close(m_descriptor);
    }
    CConverter(const CConverter&) = delete;
    CConverter& operator=(const CConverter&) = delete;
    [[nodiscard]] bool IsOpen() const { return m_descriptor != kClosed; }

    // Converts the whole input; the bytes made, or -1 with errno.
    ssize_t Convert(std::span<const uint8_t> in, std::span<uint8_t> out) {
      iconv(m_descriptor, nullptr, nullptr, nullptr, nullptr);
      auto* source = const_cast<char*>(reinterpret_cast<const char*>(in.data()));
      auto* target = reinterpret_cast<char*>(out.data());
      size_t sourceLeft = in.size();
      size_t targetLeft = out.size();
      constexpr auto kFailed = static_cast<size_t>(-1);
      if (iconv(m_descriptor, &source, &sourceLeft, &target, &targetLeft) == kFailed) return -1;
      // Some pages hold a letter back until they know whether an accent follows.
      if (iconv(m_descriptor, nullptr, nullptr, &target, &targetLeft) == kFailed) return -1;
      return static_cast<ssize_t>(out.size() - targetLeft);
    }

   private:
    inline static const auto kClosed =
        std::bit_cast<iconv_t>(intptr_t{-1});  // what iconv_open answers on failure
    iconv_t m_descriptor;
  };

  explicit SState(const std::string& name) : decoder(kUtf16, name.c_str()), encoder(name.c_str(), kUtf16) {}
  CConverter decoder;
  CConverter encoder;
  bool isGbk = false;
};

CSystemCodePage::CSystemCodePage(std::unique_ptr<SState> state) : m_state(std::move(state)) {}
CSystemCodePage::~CSystemCodePage() = default;

std::unique_ptr<CSystemCodePage> CSystemCodePage::Open(uint32_t codePage) {
  // Not of one or two bytes a character.
  if (codePage == 1200 || codePage == 1201 || codePage == 12000 || codePage == 12001) return nullptr;
  auto state = std::make_unique<SState>(ConverterName(codePage));
  if (!state->decoder.IsOpen() || !state->encoder.IsOpen()) return nullptr;
  state->isGbk = codePage == 936;
  return std::unique_ptr<CSystemCodePage>(new CSystemCodePage(std::move(state)));
}

SDecodedCode CSystemCodePage::Decode(std::span<const uint8_t> bytes) {
  // Windows added the euro sign to its page 936; the converter has the standard's page.
  if (m_state->isGbk && bytes.size() == 1 && bytes[0] == 0x80) return {ECodeKind::Defined, u'\u20AC'};
  std::array<uint8_t, 8> out{};
  const ssize_t size = m_state->decoder.Convert(bytes, out);
  if (size < 0) return {errno == EINVAL && bytes.size() == 1 ? ECodeKind::LeadByte : ECodeKind::Undefined, 0};
  if (size != sizeof(char16_t)) return {};
  return {ECodeKind::Defined, std::bit_cast<char16_t>(std::array<uint8_t, 2>{out[0], out[1]})};
}

uint16_t CSystemCodePage::Encode(char16_t unit) {
  const auto in = std::bit_cast<std::array<uint8_t, 2>>(unit);
  std::array<uint8_t, 8> out{};
  const ssize_t size = m_state->encoder.Convert(in, out);
  if (size == 1) return out[0];
  return size == 2 ? static_cast<uint16_t>(out[0] << 8 | out[1]) : uint16_t{0};
}

uint32_t SystemCodePage() {
  return kWindowsLatin1;
}

}  // namespace tolvane
