// tarnwell-mcp: serves the user's plan to an assistant. Messages of the Model Context Protocol come
// on standard input and go to standard output, one on each line, until the input ends.
#include <array>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <utility>

#include <poll.h>
#include <unistd.h>

#include "tarnwell/agent/data_directory.h"
#include "tarnwell/base/version.h"
#include "tarnwell/mcp/line_buffer.h"
#include "tarnwell/mcp/plan.h"
#include "tarnwell/mcp/server.h"
#include "tarnwell/platform/file_descriptor.h"
#include "tarnwell/platform/standard_streams.h"

namespace tarnwell::mcp {
namespace {

constexpr int wrongUsage = 2;

constexpr const char* help = R"(Usage: tarnwell-mcp [--help | --version]

Serves your Tarnwell plan to an assistant: speaks the Model Context Protocol on
standard input and output, and ends with its input. A client starts it; there is
nothing to see at a terminal.
)";

int print(const char* text) {
  return std::fputs(text, stdout) != EOF && std::fflush(stdout) == 0 ? EXIT_SUCCESS : EXIT_FAILURE;
}

// The stream to the client. After the first failure it drops everything.
class Output {
 public:
  explicit Output(const FileDescriptor& file) : file_(file) {}

  void writeLine(std::string_view line) {
    if (error_ != 0) return;
    std::string bytes(line);
    bytes += '\n';
    error_ = writeAll(file_.number(), bytes);
  }

  bool hasFailed() const { return error_ != 0; }

  // A closed output means that the client has gone, which is no failure.
  int status() const {
    const bool isClosed = error_ == EPIPE || error_ == EBADF || error_ == ECONNRESET;
    return error_ == 0 || isClosed ? EXIT_SUCCESS : EXIT_FAILURE;
  }

 private:
  const FileDescriptor& file_;
  int error_ = 0;  // an errno value
};

struct Events {
  bool hasInput = false;  // or its end
  bool clientIsGone = false;
};

// Waits for input, for a change of the plan, or for the client to close the output.
Events awaitEvents(const FileDescriptor& input, const FileDescriptor& output,
                   const Server& server) {
  std::array<pollfd, 3> awaited{};
  awaited[0] = {.fd = input.number(), .events = POLLIN, .revents = 0};
  awaited[1] = {.fd = output.number(), .events = 0, .revents = 0};
  awaited[2] = {.fd = server.watchedDescriptor().value_or(-1), .events = POLLIN, .revents = 0};
  retryingInterrupted([&] { return ::poll(awaited.data(), awaited.size(), -1); });
  return {.hasInput = awaited[0].revents != 0,
          .clientIsGone = (awaited[1].revents & (POLLERR | POLLHUP)) != 0};
}

// Serves the client until the input ends. Returns the exit status.
int serve(const FileDescriptor& input, const FileDescriptor& outputFile) {
  Plan plan(DataDirectory::ofUser);
  Output output(outputFile);
  Server server(plan, std::string(versionText),
                [&](std::string_view line) { output.writeLine(line); });
  const auto receive = [&](std::optional<Line> line) {
    if (!line || output.hasFailed()) return false;
    server.receive(std::move(*line));
    server.sendNotifications();
    return true;
  };

  LineBuffer lines;
  std::array<char, 4096> piece{};  // most requests are shorter
  while (!output.hasFailed()) {
    const Events events = awaitEvents(input, outputFile, server);
    if (events.clientIsGone) break;
    server.sendNotifications();
    if (!events.hasInput) continue;
    const ssize_t count = ::read(input.number(), piece.data(), piece.size());
    if (count == -1 && (errno == EAGAIN || errno == EINTR)) continue;
    if (count == -1) return EXIT_FAILURE;
    if (count == 0) {
      receive(lines.last());
      break;
    }
    lines.append({piece.data(), static_cast<std::size_t>(count)});
    while (receive(lines.next())) {
    }
  }
  return output.status();
}

int run(std::span<char* const> arguments) {
  const std::string_view argument = arguments.empty() ? "" : arguments.front();
  if (arguments.size() == 1 && argument == "--help") return print(help);
  if (arguments.size() == 1 && argument == "--version") {
    return print(("tarnwell-mcp " + std::string(versionText) + "\n").c_str());
  }
  if (!arguments.empty()) {
    std::fputs(help, stderr);
    return wrongUsage;
  }
  occupyClosedStandardDescriptors();
  setSignals();
  const FileDescriptor input = takeStandardInput();
  const FileDescriptor output = takeStandardOutput();
  return serve(input, output);
}

}  // namespace
}  // namespace tarnwell::mcp

int main(int count, char** arguments) {
  try {
    const std::span all(arguments, static_cast<std::size_t>(count));
    return tarnwell::mcp::run(all.subspan(all.empty() ? 0 : 1));
  } catch (const std::exception& error) {
    std::fprintf(stderr, "tarnwell-mcp: %s\n", error.what());
    return EXIT_FAILURE;
  }
}
