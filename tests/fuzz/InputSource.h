// InputSource: the bytes that a fuzzer makes up, as a source of a table.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <span>

#include "tools/tables/ByteSource.h"

class InputSource final : public Rtrie::ByteSource {
  public:
   explicit InputSource(std::span<const std::uint8_t> input) : input_(input) {}
   std::size_t read(char* to, std::size_t room) override {
      const std::size_t got = std::min(room, input_.size());
      std::copy_n(input_.begin(), got, to);
      input_ = input_.subspan(got);
      return got;
   }

  private:
   std::span<const std::uint8_t> input_;
};
