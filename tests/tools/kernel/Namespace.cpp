#include "tests/tools/kernel/Namespace.h"

#include <sched.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <fstream>
#include <sstream>
#include <stdexcept>

namespace Rtrie::Support {
namespace {

struct ShellRun {
   int status;
   std::string text;
};

ShellRun runShell(const std::string& command) {
   std::FILE* pipe = popen(("( " + command + " ) 2>&1").c_str(), "r");
   if (pipe == nullptr) {
      throw std::runtime_error("no shell");
   }
   std::string text;
   char buffer[4096];
   for (std::size_t got = 0; (got = std::fread(buffer, 1, sizeof buffer, pipe)) > 0;) {
      text.append(buffer, got);
   }
   const int status = pclose(pipe);
   return {WIFEXITED(status) ? WEXITSTATUS(status) : 128, text};
}

}  // namespace

void enterNetwork() {
   if (unshare(CLONE_NEWNET) == 0) {
      return;
   }
   const auto user = std::to_string(geteuid());
   if (unshare(CLONE_NEWUSER | CLONE_NEWNET) != 0) {
      throw std::runtime_error("no network namespaces here");
   }
   std::ofstream("/proc/self/uid_map") << "0 " << user << " 1\n";
}

std::string shell(const std::string& command) {
   const auto ran = runShell(command);
   if (ran.status != 0) {
      throw std::runtime_error(command + ": " + ran.text);
   }
   return ran.text;
}

std::string tryShell(const std::string& command) { return runShell(command).text; }

std::vector<std::string> linesOf(const std::string& text) {
   std::istringstream stream(text);
   std::vector<std::string> lines;
   for (std::string line; std::getline(stream, line);) {
      lines.push_back(line);
   }
   return lines;
}

void addLink() {
   shell(
      "ip link set lo up; ip link add d0 type veth peer name d0p; ip link set d0p up; ip link set d0 up;"
      "ip addr add 192.0.2.254/24 dev d0; ip addr add 2001:db8::1/64 dev d0 nodad");
}

InNetwork::InNetwork() {
   enterNetwork();
   addLink();
}

}  // namespace Rtrie::Support
