// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
// vx modes --sheet: draws one picture over another in each transfer mode, with the name of the
// mode.

#include <algorithm>
#include <memory>

#include "Color.h"
#include "Console.h"
#include "VX/cpp/Composite.hpp"
#include "VX/cpp/Pixels.hpp"
#include "VXIO/VXIO_Picture.h"
#include "Values.h"
#include "Verbs.h"

namespace vxcli {

namespace {

struct ModesOptions {
  std::string above, below, output;
  int32_t depth = 0, tile = 0, columns = 0;
  bool overwrite = false, no_clobber = false;
};

constexpr int32_t kMargin = 8, kLabel = 22, kFont = 13, kCheck = 8;

// Returns the background of the tiles, which is visible where a result is transparent.
vx::Image Checkers(int32_t width, int32_t height) {
  vx::Image image(width, height, 8);
  const vx::Pixel8 colors[2] = {{255, 120, 120, 120}, {255, 160, 160, 160}};
  for (int32_t y = 0; y < height; y += kCheck) {
    for (int32_t x = 0; x < width; x += kCheck) {
      vx::fill(image, colors[(x + y) / kCheck % 2], {vx::Rect{x, y, x + kCheck, y + kCheck}});
    }
  }
  return image;
}

// The two pictures, scaled to the size of a tile. Both have the same scale unless the upper picture
// is larger than the lower one; then it is scaled to fit.
struct Tiles {
  vx::Image above, below;
  int32_t x, y;  // position of the upper picture on the lower one
};

Tiles MakeTiles(const VX_World& above, const VX_World& below, int32_t side) {
  double scale = std::min(1.0, static_cast<double>(side) / std::max(below.width, below.height));
  auto side_of = [](int32_t size, double by) {
    return std::max(1, static_cast<int32_t>(size * by + 0.5));
  };
  int32_t width = side_of(below.width, scale), height = side_of(below.height, scale);
  double scale_above = std::min({scale, static_cast<double>(width) / above.width,
                                 static_cast<double>(height) / above.height});
  Tiles tiles;
  tiles.below = vx::resize(below, width, height);
  tiles.above = vx::resize(above, std::min(width, side_of(above.width, scale_above)),
                           std::min(height, side_of(above.height, scale_above)));
  tiles.x = (width - tiles.above.width()) / 2;
  tiles.y = (height - tiles.above.height()) / 2;
  return tiles;
}

vx::Image Result(const Tiles& tiles, const vx::ModeInfo& mode) {
  vx::Image result = vx::clone(tiles.below);
  vx::CompositeOptions options{.mode = mode.mode, .at = {tiles.x, tiles.y}};
  // The mode mask-mix needs a mask; the alpha of the picture above is used.
  if (mode.mode == vx::Mode::mask_mix) options.mask = vx::Mask{tiles.above, options.at};
  WithContext(std::string("mode ") + mode.name,
              [&] { vx::composite(result, tiles.above, options); });
  return result;
}

vx::Image MakeSheet(const Tiles& tiles, int32_t columns) {
  const int32_t width = tiles.below.width(), height = tiles.below.height();
  const auto count = static_cast<int32_t>(vx::modes().size());
  const int32_t rows = (count + columns - 1) / columns;
  const int64_t sheet_width = kMargin + int64_t{columns} * (width + kMargin);
  const int64_t sheet_height = kMargin + int64_t{rows} * (height + kLabel + kMargin);
  if (sheet_width > 30000 || sheet_height > 30000) {
    throw UsageError("--tile, --columns: the sheet would be larger than 30000 pixels on a side");
  }
  vx::Image sheet(static_cast<int32_t>(sheet_width), static_cast<int32_t>(sheet_height), 8);
  vx::fill(sheet, vx::Pixel8{255, 32, 32, 32});
  const vx::Image checkers = Checkers(width, height);
  for (int32_t i = 0; i < count; ++i) {
    const vx::ModeInfo& mode = vx::modes()[static_cast<size_t>(i)];
    int32_t x = kMargin + i % columns * (width + kMargin);
    int32_t y = kMargin + i / columns * (height + kLabel + kMargin);
    const vx::Image result = vx::convert(Result(tiles, mode), 8);
    vx::composite(sheet, checkers, {.at = {x, y}});
    vx::composite(sheet, result, {.at = {x, y}});
    const std::string name = std::to_string(static_cast<int32_t>(mode.mode)) + " " + mode.name;
    const VXIO_WorldPtr label = VXIO_RenderText(name, kFont, /*grey=*/230);
    vx::composite(sheet, *label, {.at = {x + 2, y + height + 2}});
  }
  return sheet;
}

int Run(const ModesOptions& options) {
  VXIO_WriteOptions write;
  write.clobber = options.no_clobber ? VXIO_Clobber::Refuse : VXIO_Clobber::Overwrite;
  VXIO_CheckOutput(options.output, write.clobber);
  VXIO_Picture above = VXIO_Read(options.above, options.depth);
  VXIO_Picture below = VXIO_Read(options.below, options.depth);
  Warn(above.warnings);
  Warn(below.warnings);
  const int32_t deepest = std::max(above.world->Depth(), below.world->Depth());
  above.world = VXIO_ConvertDepth(std::move(above.world), deepest);
  below.world = VXIO_ConvertDepth(std::move(below.world), deepest);
  write.metadata = ProfileOnly(options.above, above);
  const Tiles tiles =
      WithContext("scale", [&] { return MakeTiles(*above.world, *below.world, options.tile); });
  above.world.reset();
  below.world.reset();
  const vx::Image sheet = WithContext("sheet", [&] { return MakeSheet(tiles, options.columns); });
  Warn(VXIO_Write(options.output, *sheet.world(), write));
  return kDone;
}

OptionList OptionsOf(ModesOptions* to) {
  Value pictures{Value::Text, [to](const std::string&, const std::string& text) {
                   (to->above.empty() ? to->above : to->below) = text;
                 }};
  pictures.count = 2;
  return {
      Option{"--sheet", "A B", std::move(pictures), "The picture above and the picture below"}
          .Required(),
      Option{"-o,--output", "SHEET", Text(&to->output), "Picture to write"}.Required(),
      DepthOption(
          &to->depth,
          "%r: bits per channel for blending; keep: the larger depth of the two pictures; the "
          "sheet has 8"),
      Option{"--tile", "PIXELS", Integer(&to->tile, 16, 4096), "Longer side of a tile, %r pixels"}
          .Default("192"),
      Option{"--columns", "NUMBER", Integer(&to->columns, 1, 39), "Tiles in a row, %r"}.Default(
          "8"),
      Option{"--overwrite", "", Flag(&to->overwrite), "Replace SHEET if it exists"}.Without("yes"),
      Option{"--no-clobber", "", Flag(&to->no_clobber), "Fail if SHEET exists"}.Excludes(
          "--overwrite"),
  };
}

}  // namespace

Verb ModesVerb() {
  auto options = std::make_shared<ModesOptions>();
  return {"modes", "Draw a labelled contact sheet of all transfer modes", OptionsOf(options.get()),
          "Example:\n  vx modes --sheet sprite.png photo.jpg -o sheet.png",
          [options](const Verb&) { return Run(*options); }};
}

}  // namespace vxcli
