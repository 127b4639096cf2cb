// A privileged runner that answers on request, and records its requests.
#pragma once

#include <filesystem>
#include <functional>
#include <string>
#include <utility>
#include <vector>

#include "tarnwell/blocking/privileged_command_running.h"

#include "tests/support/scratch_folder.h"

namespace tarnwell::test {

class FakeRunner : public PrivilegedCommandRunning {
 public:
  using Replace = std::function<void(const PreparedFile&, const std::filesystem::path&)>;

  // The effect of an administrator's approval.
  static void install(const PreparedFile& source, const std::filesystem::path& destination) {
    writeFile(destination, source.content);
  }

  void replace(const PreparedFile& source, const std::filesystem::path& destination) override {
    requests.push_back(source.path.extension().string());
    const std::size_t index = requests.size() - 1;
    const Replace& answer = index < answers.size() ? answers[index] : answers.back();
    answer(source, destination);
  }

  void refreshDNS() override {
    ++refreshes;
    onRefresh();
  }

  std::vector<Replace> answers{install};  // one for each request; the last for all further ones
  std::function<void()> onRefresh = [] {};
  std::vector<std::string> requests;  // the extensions of the files to install
  int refreshes = 0;
};

}  // namespace tarnwell::test
