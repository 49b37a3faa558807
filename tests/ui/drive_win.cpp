// drive: calls functions of Windows for a script that cannot (window.py); it knows nothing of what for.
//
// One call a line, one answer a line, words separated by blanks:
//
//   FUNCTION ARGUMENT...   ->   RESULT MEMORY...
//
// An argument is a decimal number or, as "x" and hexadecimal digits, memory whose address the function gets.
// The answer is the number that the function returned and all such memory as it left it; for a function that
// is not there it is the empty line. FUNCTION may also be "method:NUMBER", the place of a method among those
// of the object whose address is the first argument.
#include <windows.h>

#include <charconv>
#include <cstdint>
#include <deque>
#include <iostream>
#include <sstream>
#include <string>
#include <vector>

namespace {

using Bytes = std::vector<uint8_t>;
// With more arguments than any that is called: what a function does not know of, it does not look at.
using Function = INT_PTR(WINAPI*)(INT_PTR, INT_PTR, INT_PTR, INT_PTR, INT_PTR, INT_PTR, INT_PTR, INT_PTR,
                                  INT_PTR, INT_PTR);
constexpr size_t kMostArguments = 10;
constexpr char kMethod[] = "method:";

Function Find(const std::string& name) {
  for (const wchar_t* library : {L"user32", L"kernel32", L"advapi32", L"oleacc"})
    if (const FARPROC found = GetProcAddress(LoadLibraryW(library), name.c_str()))
      return reinterpret_cast<Function>(reinterpret_cast<void*>(found));
  return nullptr;
}

// An object begins with the address of its methods.
Function FindMethod(const std::string& name, INT_PTR object) {
  return object == 0
             ? nullptr
             : (*reinterpret_cast<Function* const*>(object))[std::stoul(name.substr(sizeof(kMethod) - 1))];
}

Bytes ToBytes(const std::string& word) {
  Bytes bytes(word.size() / 2);
  for (size_t i = 0; i < bytes.size(); i++)
    std::from_chars(&word[1 + 2 * i], &word[1 + 2 * i] + 2, bytes[i], 16);
  return bytes;
}

std::string ToWord(const Bytes& bytes) {
  constexpr char kDigits[] = "0123456789abcdef";
  std::string word = "x";
  for (const uint8_t byte : bytes) word.append({kDigits[byte >> 4], kDigits[byte & 15]});
  return word;
}

std::string Call(const std::string& line) {
  std::istringstream words(line);
  std::string word;
  words >> word;
  const std::string name = word;
  INT_PTR given[kMostArguments]{};
  std::deque<Bytes> memory;  // stays where it is when it grows
  for (size_t i = 0; i < kMostArguments && words >> word; i++)
    given[i] = word[0] == 'x' ? reinterpret_cast<INT_PTR>(memory.emplace_back(ToBytes(word)).data())
                              : static_cast<INT_PTR>(std::stoll(word));
  const Function function = name.starts_with(kMethod) ? FindMethod(name, given[0]) : Find(name);
  if (!function) return {};
  std::string answer = std::to_string(function(given[0], given[1], given[2], given[3], given[4], given[5],
                                               given[6], given[7], given[8], given[9]));
  for (const Bytes& bytes : memory) answer += " " + ToWord(bytes);
  return answer;
}

}  // namespace

int main() {
  std::string line;
  while (std::getline(std::cin, line)) std::cout << Call(line) << std::endl;
  return 0;
}
