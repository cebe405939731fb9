#include "platform/Log.h"


#include <fcntl.h>
#include <poll.h>
#include <syslog.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <string>

#include "platform/FileIO.h"

namespace grantwright {

namespace {

// Set when standard output was closed as the process started and now leads to /dev/null.
bool& StandardOutputWasClosed() {
  static bool closed = false;
  return closed;
}

LogSink& Sink() {
  static LogSink sink;
  return sink;
}

bool WriteLine(int fd, std::string_view text) {
  std::string line;
  line.reserve(text.size() + 1);
  line.append(text);
  line.push_back('\n');
  return WriteAll(fd, line);
}

bool LogToStandardError() {
  const char* target = std::getenv("GRANTWRIGHT_LOG");
  return target != nullptr && std::strcmp(target, "stderr") == 0;
}

}  // namespace

namespace System {
void DebugLog(const String& message) {
  const std::string text = message.Utf8();
  if (Sink()) {
    Sink()(text);
    return;
  }
  if (LogToStandardError()) {
    WriteLine(STDERR_FILENO, text);
    return;
  }
  static const bool opened = (openlog("grantwright", LOG_PID, LOG_USER), true);
  (void)opened;
  syslog(LOG_DEBUG, "%s", text.c_str());
}
}  // namespace System

void MsgBox(const String& message) { WriteLine(STDERR_FILENO, message.Utf8()); }

bool WriteStandardOutputLine(std::string_view text) { return WriteLine(STDOUT_FILENO, text); }

int WriteStandardOutput(std::string_view bytes) {
  return WriteAll(STDOUT_FILENO, bytes) ? 0 : errno;
}

bool StandardOutputIsOpen() {
  return !StandardOutputWasClosed() && ::fcntl(STDOUT_FILENO, F_GETFD) != -1;
}

bool OpenStandardDescriptors() {
  // One poll that waits for nothing asks after all three at once: it marks a closed
  // descriptor POLLNVAL.
  struct pollfd fds[3] = {{STDIN_FILENO, 0, 0}, {STDOUT_FILENO, 0, 0}, {STDERR_FILENO, 0, 0}};
  if (::poll(fds, 3, 0) < 0) return false;
  for (int fd = STDIN_FILENO; fd <= STDERR_FILENO; ++fd) {
    if ((fds[fd].revents & POLLNVAL) == 0) continue;
    // open gives the lowest free number, which is this one.
    const int opened = ::open("/dev/null", fd == STDIN_FILENO ? O_RDONLY : O_WRONLY);
    if (opened != fd) return false;
    if (fd == STDOUT_FILENO) StandardOutputWasClosed() = true;
  }
  return true;
}

LogSink SetLogSink(LogSink sink) {
  LogSink previous = std::move(Sink());
  Sink() = std::move(sink);
  return previous;
}

}  // namespace grantwright
