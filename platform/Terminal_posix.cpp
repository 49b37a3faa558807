#include <errno.h>
#include <poll.h>
#include <signal.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <cstdlib>

#include "platform/Terminal.h"
#include "platform/Text.h"

namespace tolvane {

namespace {
constexpr unsigned kUsualWidth = 80;
constexpr int kMoment = 100;  // milliseconds
int g_writeError = 0;         // of the last write to standard output

int DescriptorOf(EStream stream) {
  if (stream == EStream::Input) return STDIN_FILENO;
  return stream == EStream::Output ? STDOUT_FILENO : STDERR_FILENO;
}
}  // namespace

void PrepareTerminal() {
  signal(SIGPIPE, SIG_IGN);
  signal(SIGXFSZ, SIG_IGN);
}

bool IsTerminal(EStream stream) {
  return isatty(DescriptorOf(stream)) == 1;
}

bool AcceptsEscapes(EStream stream) {
  if (!IsTerminal(stream)) return false;
  const std::u16string kind = GetEnvironment(u"TERM");
  return !kind.empty() && kind != u"dumb";
}

unsigned GetTerminalWidth(EStream stream) {
  winsize size{};
  const bool isKnown = ioctl(DescriptorOf(stream), TIOCGWINSZ, &size) == 0 && size.ws_col > 0;
  return isKnown ? size.ws_col : kUsualWidth;
}

bool WriteStream(EStream stream, std::string_view utf8) {
  const int descriptor = DescriptorOf(stream);
  while (!utf8.empty()) {
    const ssize_t n = write(descriptor, utf8.data(), utf8.size());
    if (n >= 0) {
      utf8.remove_prefix(static_cast<size_t>(n));
      continue;
    }
    if (errno == EINTR) continue;
    if (stream == EStream::Output) g_writeError = errno;
    if (errno != EAGAIN) return false;
    pollfd ready{descriptor, POLLOUT, 0};
    if (poll(&ready, 1, -1) < 0 && errno != EINTR) return false;
  }
  return true;
}

bool IsReaderGone() {
  return g_writeError == EPIPE;
}

std::optional<size_t> ReadInput(std::span<uint8_t> bytes, bool& isOk) {
  isOk = true;
  pollfd ready{STDIN_FILENO, POLLIN, 0};
  const int count = poll(&ready, 1, kMoment);
  if (count == 0 || (count < 0 && errno == EINTR)) return std::nullopt;
  const ssize_t n = count > 0 ? read(STDIN_FILENO, bytes.data(), bytes.size()) : -1;
  if (n >= 0) return static_cast<size_t>(n);
  isOk = errno == EINTR || errno == EAGAIN;
  return std::nullopt;
}

std::u16string GetEnvironment(std::u16string_view name) {
  const char* value = std::getenv(ToNativePath(name).c_str());
  return value ? FromNativePath(value) : std::u16string();
}

}  // namespace tolvane
