// PngPixels: a PNG as its pixels, for tests.
#pragma once

#include <gtest/gtest.h>
#include <png.h>

#include <string>
#include <vector>

#include "tools/rtrie/map/Palette.h"

namespace Rtrie {

struct PngPixels {
   explicit PngPixels(const std::string& bytes) {
      png_image image = {};
      image.version = PNG_IMAGE_VERSION;
      EXPECT_NE(0, png_image_begin_read_from_memory(&image, bytes.data(), bytes.size())) << image.message;
      image.format = PNG_FORMAT_RGB;
      values.resize(PNG_IMAGE_SIZE(image));
      EXPECT_NE(0, png_image_finish_read(&image, nullptr, values.data(), 0, nullptr)) << image.message;
      width = image.width;
      height = image.height;
   }

   Colour at(unsigned x, unsigned y) const {
      const auto* const pixel = &values.at((std::size_t{y} * width + x) * 3);
      return {pixel[0], pixel[1], pixel[2]};
   }

   std::vector<U8> values;
   unsigned width = 0;
   unsigned height = 0;
};

}  // namespace Rtrie
