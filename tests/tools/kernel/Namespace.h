// Namespace: a network of its own for a test, which nothing else on the machine sees: devices, addresses and routes that go
// with the process.
#pragma once

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace Rtrie::Support {

// Moves this process to a new network namespace, with a user namespace around it where that takes one. Raises
// std::runtime_error where neither is permitted. Requires: no second thread.
void enterNetwork();

// Runs a command of the shell and returns what it prints on both channels. Raises std::runtime_error if its status is not 0.
std::string shell(const std::string& command);
// The same, whatever the status.
std::string tryShell(const std::string& command);

std::vector<std::string> linesOf(const std::string& text);

// A link from d0 to d0p that is up, with 192.0.2.254/24 and 2001:db8::1/64 on d0; and lo up.
void addLink();

// A test that has all this.
class InNetwork : public testing::Test {
  protected:
   InNetwork();
};

}  // namespace Rtrie::Support
