#include "tools/rtrie/map/MapPicture.h"

#include <cairo-svg.h>
#include <cairo.h>
#include <fmt/format.h>
#include <png.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <functional>
#include <memory>
#include <vector>

#include "tools/rtrie/map/AnswerWalk.h"
#include "tools/rtrie/map/HilbertCurve.h"
#include "tools/rtrie/map/MarkupText.h"
#include "tools/tables/TableErrors.h"

namespace Rtrie {
namespace {

using Surface = std::unique_ptr<cairo_surface_t, decltype(&cairo_surface_destroy)>;
using Context = std::unique_ptr<cairo_t, decltype(&cairo_destroy)>;

void checkDrawn(cairo_status_t status) {
   if (status != CAIRO_STATUS_SUCCESS) {
      throw DataError(fmt::format("cannot draw the map: {}", cairo_status_to_string(status)));
   }
}

// In pixels.
constexpr double pageMargin = 24;
constexpr double titleHeight = 52;
constexpr double legendWidth = 300;
constexpr double legendRow = 24;
constexpr double swatch = 14;
constexpr double leastBlock = 60;  // side of a block that has a label
constexpr unsigned mostBlockLevels = 4;
constexpr double labelSize = 11;

struct Layout {
   double curve;  // its side
   double curveX;
   double curveY;
   double width;
   double height;
};

Layout layoutOf(const SpaceMap& map) {
   const double side = HilbertCurve(map.order).side();
   const double legendHeight = legendRow * static_cast<double>(map.classes.size() + 3);
   return {side, pageMargin, pageMargin + titleHeight, 3 * pageMargin + side + legendWidth,
           2 * pageMargin + titleHeight + std::max(side, legendHeight)};
}

void colourIs(cairo_t* context, const Colour& colour, double opacity = 1) {
   cairo_set_source_rgba(context, colour.red / 255.0, colour.green / 255.0, colour.blue / 255.0, opacity);
}

void fontIs(cairo_t* context, double size, bool isBold = false) {
   cairo_select_font_face(context, "sans-serif", CAIRO_FONT_SLANT_NORMAL,
                          isBold ? CAIRO_FONT_WEIGHT_BOLD : CAIRO_FONT_WEIGHT_NORMAL);
   cairo_set_font_size(context, size);
}

double textWidth(cairo_t* context, const std::string& text) {
   cairo_text_extents_t extents;
   cairo_text_extents(context, text.c_str(), &extents);
   return extents.x_advance;
}

void drawText(cairo_t* context, double x, double baseline, const std::string& text) {
   cairo_move_to(context, x, baseline);
   cairo_show_text(context, text.c_str());
}

// The text, or as much of its two ends as has room, with an ellipsis between them: of a payload, the end tells as much as the
// beginning. UTF-8.
std::string fittingText(cairo_t* context, const std::string& text, double room) {
   std::vector<std::size_t> characters;  // where they begin
   for (std::size_t at = 0; at < text.size(); ++at) {
      if ((static_cast<unsigned char>(text[at]) & 0xc0) != 0x80) {
         characters.push_back(at);
      }
   }
   std::string fitting = text;
   for (std::size_t kept = characters.size(); kept > 0 && textWidth(context, fitting) > room;) {
      --kept;
      const std::size_t front = kept - kept / 2;
      const std::size_t back = characters.size() - kept / 2;
      fitting = text.substr(0, front < characters.size() ? characters[front] : text.size()) + "…" +
                (back < characters.size() ? text.substr(characters[back]) : "");
   }
   return fitting;
}

// The cells, a pixel each. The image has its own PNG beside it, for a file that holds an image as a whole: the one that cairo
// would make of the pixels takes three times as much.
Surface curveImage(const SpaceMap& map, Theme theme) {
   const HilbertCurve curve(map.order);
   const auto side = static_cast<int>(curve.side());
   Surface image(cairo_image_surface_create(CAIRO_FORMAT_RGB24, side, side), cairo_surface_destroy);
   checkDrawn(cairo_surface_status(image.get()));
   std::vector<U32> pixels;
   for (const MapClass& each : map.classes) {
      const Colour colour = colourOf(each.tint, theme);
      pixels.push_back(U32{colour.red} << 16 | U32{colour.green} << 8 | colour.blue);
   }
   cairo_surface_flush(image.get());
   auto* const bytes = cairo_image_surface_get_data(image.get());
   const auto stride = static_cast<std::size_t>(cairo_image_surface_get_stride(image.get()));
   curve.forEachCell([&](U32 index, const Cell& cell) {
      // A row is aligned for such words.
      auto* const row = reinterpret_cast<U32*>(static_cast<void*>(bytes + cell.y * stride));
      row[cell.x] = pixels[map.cells[index]];
   });
   cairo_surface_mark_dirty(image.get());
   return image;
}

void attachPng(cairo_surface_t* image, std::string png) {
   auto kept = std::make_unique<std::string>(std::move(png));
   const auto* const bytes = reinterpret_cast<const unsigned char*>(kept->data());
   const auto size = static_cast<unsigned long>(kept->size());
   checkDrawn(cairo_surface_set_mime_data(
      image, CAIRO_MIME_TYPE_PNG, bytes, size, [](void* text) { delete static_cast<std::string*>(text); },
      kept.get()));
   (void)kept.release();  // the image's now
}

// How many levels down the blocks are that have room for their names; 0 if that is the block itself.
unsigned labelledLevels(cairo_t* context, const SpaceMap& map) {
   const double side = HilbertCurve(map.order).side();
   unsigned levels = std::min(mostBlockLevels, map.blockBits() / 2);
   const auto hasRoom = [&](unsigned level) {
      const double room = side / (U32{1} << level);
      if (room < leastBlock) {
         return false;
      }
      const auto blocks = blocksOf(map, level);
      return std::all_of(blocks.begin(), blocks.end(), [&](const NamedBlock& each) {
         return textWidth(context, blockLabel(each.prefix)) + 8 <= room;
      });
   };
   while (levels > 0 && !hasRoom(levels)) {
      --levels;
   }
   return levels;
}

void drawBlocks(cairo_t* context, const SpaceMap& map, const Paper& paper) {
   fontIs(context, labelSize, true);
   const unsigned levels = labelledLevels(context, map);
   if (levels == 0) {
      return;
   }
   for (const auto& [place, prefix] : blocksOf(map, levels)) {
      cairo_rectangle(context, place.x + 0.5, place.y + 0.5, place.width, place.height);
   }
   colourIs(context, paper.line, 0.55);
   cairo_set_line_width(context, 1);
   cairo_stroke(context);
   for (const auto& [place, prefix] : namedBlocks(map, levels)) {
      const std::string label = blockLabel(prefix);
      cairo_rectangle(context, place.x + 1, place.y + 1, textWidth(context, label) + 6, labelSize + 4);
      colourIs(context, paper.page, 0.8);
      cairo_fill(context);
      colourIs(context, paper.text);
      drawText(context, place.x + 4, place.y + labelSize + 2, label);
   }
}

void drawLegend(cairo_t* context, const SpaceMap& map, Theme theme, const Layout& layout) {
   const Paper& paper = paperOf(theme);
   const double x = layout.curveX + layout.curve + pageMargin;
   double y = layout.curveY;
   const auto row = [&](const MapClass& each) {
      cairo_rectangle(context, x + 0.5, y + 0.5, swatch, swatch);
      colourIs(context, colourOf(each.tint, theme));
      cairo_fill_preserve(context);
      colourIs(context, paper.faint);
      cairo_set_line_width(context, 1);
      cairo_stroke(context);
      fontIs(context, 13);
      const std::string share = percentText(map.shareOf(each));
      const double shareWidth = textWidth(context, share);
      colourIs(context, paper.faint);
      drawText(context, x + legendWidth - shareWidth, y + swatch - 2, share);
      colourIs(context, paper.text);
      const double labelX = x + swatch + 10;
      drawText(context, labelX, y + swatch - 2,
               fittingText(context, each.label, x + legendWidth - shareWidth - 12 - labelX));
      y += legendRow;
   };
   for (std::size_t i = 1; i < map.classes.size(); ++i) {
      row(map.classes[i]);
   }
   row(map.classes.front());
   fontIs(context, 12);
   colourIs(context, paper.faint);
   drawText(context, x, y + legendRow,
            fittingText(context, scaleText(map) + "; shares are of addresses", legendWidth));
}

void draw(cairo_t* context, const SpaceMap& map, Theme theme, const Layout& layout, bool isVector) {
   const Paper& paper = paperOf(theme);
   colourIs(context, paper.page);
   cairo_paint(context);
   fontIs(context, 20, true);
   colourIs(context, paper.text);
   drawText(context, pageMargin, pageMargin + 18, map.block.stringValue());
   fontIs(context, 13);
   colourIs(context, paper.faint);
   drawText(context, pageMargin, pageMargin + 38,
            fittingText(context, "by " + map.subject, layout.width - 2 * pageMargin));
   drawLegend(context, map, theme, layout);
   cairo_translate(context, layout.curveX, layout.curveY);
   const auto image = curveImage(map, theme);
   if (isVector) {
      attachPng(image.get(), curvePng(map, theme));
   }
   cairo_set_source_surface(context, image.get(), 0, 0);
   cairo_pattern_set_filter(cairo_get_source(context), CAIRO_FILTER_NEAREST);
   cairo_rectangle(context, 0, 0, layout.curve, layout.curve);
   cairo_fill(context);
   cairo_rectangle(context, 0, 0, layout.curve, layout.curve);
   cairo_clip(context);
   drawBlocks(context, map, paper);
}

// As a cairo_write_func_t.
cairo_status_t appendBytes(void* text, const unsigned char* bytes, unsigned size) {
   try {
      static_cast<std::string*>(text)->append(reinterpret_cast<const char*>(bytes), size);
      return CAIRO_STATUS_SUCCESS;
   } catch (const std::bad_alloc&) {  // through a library of C nothing can be raised
      return CAIRO_STATUS_NO_MEMORY;
   }
}

void drawOn(cairo_surface_t* surface, const SpaceMap& map, Theme theme, const Layout& layout, bool isVector) {
   checkDrawn(cairo_surface_status(surface));
   const Context context(cairo_create(surface), cairo_destroy);
   draw(context.get(), map, theme, layout, isVector);
   checkDrawn(cairo_status(context.get()));
}

}  // namespace

bool canDraw() { return true; }

std::string curvePng(const SpaceMap& map, Theme theme) {
   const HilbertCurve curve(map.order);
   std::vector<U8> indices(curve.cells());
   curve.forEachCell(
      [&](U32 index, const Cell& cell) { indices[std::size_t{cell.y} * curve.side() + cell.x] = map.cells[index]; });
   std::vector<U8> colours;
   for (const MapClass& each : map.classes) {
      const Colour colour = colourOf(each.tint, theme);
      colours.insert(colours.end(), {colour.red, colour.green, colour.blue});
   }
   png_image image = {};
   image.version = PNG_IMAGE_VERSION;
   image.width = curve.side();
   image.height = curve.side();
   image.format = PNG_FORMAT_RGB_COLORMAP;
   image.colormap_entries = static_cast<png_uint_32>(map.classes.size());
   const auto rowBytes = static_cast<png_int_32>(curve.side());
   // As much as it can take, and cut to what it did.
   png_alloc_size_t size = PNG_IMAGE_PNG_SIZE_MAX(image);
   std::string bytes(size, '\0');
   if (png_image_write_to_memory(&image, bytes.data(), &size, 0, indices.data(), rowBytes, colours.data()) == 0) {
      throw DataError(fmt::format("cannot draw the map: {}", image.message));
   }
   bytes.resize(size);
   return bytes;
}

std::string drawnPng(const SpaceMap& map, Theme theme) {
   const Layout layout = layoutOf(map);
   const Surface surface(
      cairo_image_surface_create(CAIRO_FORMAT_RGB24, static_cast<int>(layout.width), static_cast<int>(layout.height)),
      cairo_surface_destroy);
   drawOn(surface.get(), map, theme, layout, false);
   std::string bytes;
   checkDrawn(cairo_surface_write_to_png_stream(surface.get(), appendBytes, &bytes));
   return bytes;
}

std::string drawnSvg(const SpaceMap& map, Theme theme) {
   const Layout layout = layoutOf(map);
   std::string bytes;
   {
      const Surface surface(cairo_svg_surface_create_for_stream(appendBytes, &bytes, layout.width, layout.height),
                            cairo_surface_destroy);
      checkDrawn(cairo_surface_status(surface.get()));
      cairo_svg_surface_set_document_unit(surface.get(), CAIRO_SVG_UNIT_PX);
      drawOn(surface.get(), map, theme, layout, true);
      cairo_surface_finish(surface.get());
      checkDrawn(cairo_surface_status(surface.get()));
   }
   // What a screen reader says, since the letters are shapes.
   const auto root = bytes.find("<svg");
   const auto rootEnd = bytes.find('>', root);
   if (root != std::string::npos && rootEnd != std::string::npos) {
      bytes.insert(rootEnd + 1, fmt::format("\n<title>{} by {}</title>", markupText(map.block.stringValue()),
                                            markupText(map.subject)));
      bytes.insert(rootEnd, " role=\"img\"");
   }
   return bytes;
}

}  // namespace Rtrie
