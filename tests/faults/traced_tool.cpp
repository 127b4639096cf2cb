#include "tests/faults/traced_tool.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <fstream>
#include <map>
#include <stdexcept>
#include <system_error>

#include <elf.h>
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/ptrace.h>
#include <sys/uio.h>
#include <sys/user.h>
#include <sys/wait.h>
#include <unistd.h>

#include "tarnwell/platform/child_process.h"
#include "tarnwell/platform/file_descriptor.h"

#include "tests/faults/file_call_forms.h"

namespace tarnwell::test {
namespace {

// Where x86-64 keeps the arguments of a call.
constexpr std::array<std::size_t, 6> argumentRegisters = {
    offsetof(user_regs_struct, rdi), offsetof(user_regs_struct, rsi),
    offsetof(user_regs_struct, rdx), offsetof(user_regs_struct, r10),
    offsetof(user_regs_struct, r8),  offsetof(user_regs_struct, r9)};

long requirePtrace(long result) {
  if (result == -1) throw std::system_error(errno, std::generic_category(), "ptrace");
  return result;
}

class MemoryFile {
 public:
  explicit MemoryFile(std::string_view content = "")
      : file_(::memfd_create("stream", MFD_CLOEXEC)) {
    writeAll(file_.number(), content);
    ::lseek(file_.number(), 0, SEEK_SET);
  }

  int number() const { return file_.number(); }

  std::string content() const {
    ::lseek(file_.number(), 0, SEEK_SET);
    std::string bytes;
    readToEnd(file_.number(), bytes);
    return bytes;
  }

 private:
  FileDescriptor file_;
};

// Returns the address of the first instruction of a process's program.
std::uint64_t entryPoint(pid_t process) {
  std::ifstream file("/proc/" + std::to_string(process) + "/auxv", std::ios::binary);
  Elf64_auxv_t entry{};
  while (file.read(reinterpret_cast<char*>(&entry), sizeof entry)) {  // NOLINT
    if (entry.a_type == AT_ENTRY) return entry.a_un.a_val;
  }
  throw std::runtime_error("a process without an entry point");
}

class Tracer {
 public:
  // Counts the calls from the tool's first one, or all of them.
  Tracer(pid_t child, const std::optional<Fault>& fault, bool countsAll)
      : child_(child), fault_(fault), hasBegun_(countsAll) {}

  // Returns what waitpid says of the end.
  int run() {
    int status = waitForStop();
    requirePtrace(
        ::ptrace(PTRACE_SETOPTIONS, child_, nullptr, PTRACE_O_TRACESYSGOOD | PTRACE_O_EXITKILL));
    if (!hasBegun_) status = runLoader();
    while (!WIFEXITED(status) && !WIFSIGNALED(status)) {
      if (isSyscallStop(status)) atSyscallStop();
      errno = 0;
      const long result = ::ptrace(PTRACE_SYSCALL, child_, nullptr, signalToDeliver(status));
      if (errno != ESRCH) requirePtrace(result);  // one that was killed is only waited for
      status = waitForStop();
    }
    return status;
  }

  std::vector<FileCall> calls() { return std::move(calls_); }
  std::set<std::uint64_t> unknownCalls() { return std::move(unknownCalls_); }

 private:
  int waitForStop() const {
    int status = 0;
    if (retryingInterrupted([&] { return ::waitpid(child_, &status, 0); }) != child_) {
      throw std::system_error(errno, std::generic_category(), "waitpid");
    }
    return status;
  }

  // Runs a program that has just been executed to its entry without a stop: the loader makes about
  // half of all calls.
  int runLoader() const {
    constexpr long breakpoint = 0xCC;
    const std::uint64_t entry = entryPoint(child_);
    const long code = ::ptrace(PTRACE_PEEKTEXT, child_, entry, nullptr);
    requirePtrace(::ptrace(PTRACE_POKETEXT, child_, entry, (code & ~0xFFL) | breakpoint));
    requirePtrace(::ptrace(PTRACE_CONT, child_, nullptr, nullptr));
    const int status = waitForStop();
    if (WIFSTOPPED(status) && WSTOPSIG(status) == SIGTRAP) {
      requirePtrace(::ptrace(PTRACE_POKETEXT, child_, entry, code));
      setRegister(offsetof(user_regs_struct, rip), entry);
    }
    return status;
  }

  static bool isSyscallStop(int status) {
    return WIFSTOPPED(status) && WSTOPSIG(status) == (SIGTRAP | 0x80);
  }

  static long signalToDeliver(int status) {
    const bool isOwn = !WIFSTOPPED(status) || isSyscallStop(status) || WSTOPSIG(status) == SIGTRAP;
    return isOwn ? 0 : WSTOPSIG(status);
  }

  void atSyscallStop() {
    __ptrace_syscall_info info{};
    requirePtrace(::ptrace(PTRACE_GET_SYSCALL_INFO, child_, sizeof info, &info));
    if (info.op == PTRACE_SYSCALL_INFO_ENTRY) {
      atEntry(info.entry.nr, std::to_array(info.entry.args));
    } else if (info.op == PTRACE_SYSCALL_INFO_EXIT) {
      atExit(info.exit.rval);
    }
  }

  void atEntry(std::uint64_t number, const std::array<std::uint64_t, 6>& arguments) {
    current_ = nullptr;
    const auto found = fileCallForms().find(number);
    if (found == fileCallForms().end()) {
      if (hasBegun_ && !callsOnNoFile().contains(number)) unknownCalls_.insert(number);
      return;
    }
    const FileCallForm& form = found->second;
    FileCall call = describe(form, arguments);
    // The first thing that the tool itself does.
    hasBegun_ = hasBegun_ || (call.name == "open" && call.path == "/dev/null");
    if (!hasBegun_) return;
    current_ = &form;
    data_ = 0;
    if (form.dataArgument >= 0) {
      data_ = arguments.at(static_cast<std::size_t>(form.dataArgument));
    }
    const std::size_t index = calls_.size();
    calls_.push_back(std::move(call));
    if (fault_ && isHit(index)) inject(form, arguments);
  }

  bool isHit(std::size_t index) const {
    return index == fault_->call || (fault_->isLasting && index > fault_->call &&
                                     calls_[index].name == calls_[fault_->call].name);
  }

  void inject(const FileCallForm& form, const std::array<std::uint64_t, 6>& arguments) {
    switch (fault_->kind) {
      case Fault::Kind::kill:
        ::kill(child_, SIGKILL);
        return;
      case Fault::Kind::shortCount:
        if (form.countArgument >= 0) {
          const auto argument = static_cast<std::size_t>(form.countArgument);
          setRegister(argumentRegisters.at(argument), (arguments.at(argument) + 1) / 2);
        }
        return;
      case Fault::Kind::error:
        injected_ = fault_->error;
        // A close that fails has closed.
        if (calls_.back().name != "close") setRegister(offsetof(user_regs_struct, orig_rax), ~0ULL);
    }
  }

  void atExit(std::int64_t result) {
    if (injected_) {
      result = -*injected_;
      setRegister(offsetof(user_regs_struct, rax), static_cast<std::uint64_t>(result));
      injected_.reset();
    }
    if (current_ == nullptr) return;
    FileCall& call = calls_.back();
    call.result = result;
    if (data_ != 0 && result > 0) call.data = bytesAt(data_, static_cast<std::size_t>(result));
    const auto descriptor = static_cast<int>(result);
    if (call.name == "open" && result >= 0) opened_[descriptor] = call.path;
    if (call.name == "fcntl" && result >= 0) opened_[descriptor] = call.path;
    if (call.name == "dup2" && result >= 0) opened_[descriptor] = call.path;
  }

  FileCall describe(const FileCallForm& form, const std::array<std::uint64_t, 6>& arguments) const {
    FileCall call{.name = form.name};
    const auto argument = [&](int index) { return arguments.at(static_cast<std::size_t>(index)); };
    if (form.pathArgument >= 0) call.path = textAt(argument(form.pathArgument));
    if (form.targetArgument >= 0) call.target = textAt(argument(form.targetArgument));
    if (form.flagsArgument >= 0) {
      call.flags = static_cast<int>(argument(form.flagsArgument));
    }
    if (form.descriptorArgument >= 0) {
      call.descriptor = static_cast<int>(argument(form.descriptorArgument));
      const auto found = opened_.find(call.descriptor);
      if (call.path.empty() && found != opened_.end()) call.path = found->second;
    }
    return call;
  }

  std::string bytesAt(std::uint64_t address, std::size_t count) const {
    std::string bytes(count, '\0');
    const iovec here{.iov_base = bytes.data(), .iov_len = count};
    const iovec there{.iov_base = reinterpret_cast<void*>(address), .iov_len = count};  // NOLINT
    if (::process_vm_readv(child_, &here, 1, &there, 1, 0) != static_cast<ssize_t>(count)) {
      throw std::system_error(errno, std::generic_category(), "process_vm_readv");
    }
    return bytes;
  }

  // A text of the traced process, read word by word as it may end at the end of its memory.
  std::string textAt(std::uint64_t address) const {
    std::string text;
    while (true) {
      errno = 0;
      const long word = ::ptrace(PTRACE_PEEKDATA, child_, address + text.size(), nullptr);
      if (errno != 0) return text;
      std::array<char, sizeof word> bytes{};
      std::memcpy(bytes.data(), &word, sizeof word);
      for (const char c : bytes) {
        if (c == '\0') return text;
        text += c;
      }
    }
  }

  void setRegister(std::size_t offset, std::uint64_t value) const {
    requirePtrace(::ptrace(PTRACE_POKEUSER, child_, offset, value));
  }

  pid_t child_;
  std::optional<Fault> fault_;
  std::vector<FileCall> calls_;
  std::set<std::uint64_t> unknownCalls_;
  std::map<int, std::string> opened_{{STDIN_FILENO, "input"}, {STDOUT_FILENO, "output"}};
  const FileCallForm* current_ = nullptr;
  std::uint64_t data_ = 0;  // where the bytes of the present write are
  std::optional<int> injected_;
  bool hasBegun_;
};

pid_t forkProcess() {
  const pid_t child = ::fork();
  if (child == -1) throw std::system_error(errno, std::generic_category(), "fork");
  return child;
}

}  // namespace

std::string obstacleToTracing() {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
  return "sanitizers make their own system calls";
#endif
  const pid_t child = ::fork();
  if (child == 0) ::_exit(::ptrace(PTRACE_TRACEME, 0, nullptr, nullptr) == 0 ? 0 : 1);
  int status = 0;
  ::waitpid(child, &status, 0);
  return WIFEXITED(status) && WEXITSTATUS(status) == 0 ? "" : "processes may not be traced here";
}

TracedRun runTraced(const Process& process, const std::optional<Fault>& fault) {
  const MemoryFile standardInput(process.input);
  const MemoryFile standardOutput;
  const MemoryFile standardError;
  std::vector<std::string> arguments = process.arguments;
  std::vector<std::string> environment = process.environment;
  const std::vector<char*> argumentPointers = pointersTo(arguments);
  const std::vector<char*> environmentPointers = pointersTo(environment);

  const pid_t child = forkProcess();
  if (child == 0) {
    ::dup2(standardInput.number(), STDIN_FILENO);
    ::dup2(standardOutput.number(), STDOUT_FILENO);
    ::dup2(standardError.number(), STDERR_FILENO);
    ::ptrace(PTRACE_TRACEME, 0, nullptr, nullptr);
    ::execve(argumentPointers.front(), argumentPointers.data(), environmentPointers.data());
    ::_exit(127);
  }
  Tracer tracer(child, fault, false);
  const int status = tracer.run();
  TracedRun run{.calls = tracer.calls(), .unknownCalls = tracer.unknownCalls()};
  run.result.output = standardOutput.content();
  run.result.errors = standardError.content();
  if (WIFEXITED(status)) run.result.exitStatus = WEXITSTATUS(status);
  if (WIFSIGNALED(status)) run.result.signal = WTERMSIG(status);
  return run;
}

std::vector<FileCall> traceCalls(const std::function<void()>& function) {
  const pid_t child = forkProcess();
  if (child == 0) {
    ::ptrace(PTRACE_TRACEME, 0, nullptr, nullptr);
    ::raise(SIGTRAP);
    try {
      function();
    } catch (const std::exception&) {
      ::_exit(1);
    }
    ::_exit(0);
  }
  Tracer tracer(child, std::nullopt, true);
  const int status = tracer.run();
  if (!WIFEXITED(status) || WEXITSTATUS(status) != 0) {
    throw std::runtime_error("the traced function failed");
  }
  return tracer.calls();
}

}  // namespace tarnwell::test
