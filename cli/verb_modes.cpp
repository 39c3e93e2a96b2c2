// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
// vx modes --sheet: one picture over another in every transfer mode, labelled.

#include <algorithm>
#include <memory>

#include "Console.h"
#include "Errors.h"
#include "Profiles.h"
#include "VX/VX_CallbackBlock.h"
#include "VX/VX_Copy.h"
#include "VX/VX_Fill.h"
#include "VX/VX_Transfer.h"
#include "VXIO/VXIO_Picture.h"
#include "Values.h"
#include "Verbs.h"
#include "Worlds.h"

namespace vxcli {

namespace {

struct ModesOptions {
  std::string above, below, output;
  int32_t depth = 0, tile = 0, columns = 0;
  bool overwrite = false, no_clobber = false;
};

constexpr int32_t kMargin = 8, kLabel = 22, kFont = 13, kCheck = 8;

M_Rect RectAt(int32_t left, int32_t top, int32_t width, int32_t height) {
  M_Rect rect{};
  rect.left = static_cast<int16_t>(left);
  rect.top = static_cast<int16_t>(top);
  rect.right = static_cast<int16_t>(left + width);
  rect.bottom = static_cast<int16_t>(top + height);
  return rect;
}

void DrawAt(const VX_LayerDef& source, const VX_CompositeModePlus& mode, const VX_MaskSpec* mask,
            int32_t x, int32_t y, VX_LayerDef* below, const std::string& doing) {
  Check(VX_TransferRect(/*progress=*/nullptr, /*quality=*/1, /*flags=*/0, VX_Field_Both,
                        /*rect=*/nullptr, &source, &mode, /*tables=*/nullptr, mask, x, y, below),
        doing);
}

VX_CompositeModePlus InFront() {
  return VX_CompositeModePlus(VX_Xfer_InFront, 1.0f, /*linear_tables=*/nullptr,
                              /*keep_dst_alpha=*/false, /*dissolve_seed=*/0);
}

// The background of the tiles, visible where a result is transparent.
VXIO_WorldPtr Checkers(int32_t width, int32_t height) {
  VXIO_WorldPtr world = NewWorld(width, height, 8);
  const VX_Pixel8 colors[2] = {{255, 120, 120, 120}, {255, 160, 160, 160}};
  for (int32_t y = 0; y < height; y += kCheck) {
    for (int32_t x = 0; x < width; x += kCheck) {
      M_Rect check = RectAt(x, y, kCheck, kCheck);
      Check(VX_Fill(nullptr, &colors[(x + y) / kCheck % 2], &check, world.get()), "sheet");
    }
  }
  return world;
}

VXIO_WorldPtr Scaled(const VX_World& world, int32_t width, int32_t height) {
  VXIO_WorldPtr scaled = NewWorld(width, height, world.Depth());
  Check(VX_ResizeWorld(/*progress=*/nullptr, VX_Quality_High, &world, scaled.get()), "scale");
  return scaled;
}

// The two pictures at the size of a tile. The picture above is scaled like the one below, or more
// if it would not fit.
struct Tiles {
  VXIO_WorldPtr above, below;
  int32_t x, y;  // position of the picture above
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
  tiles.below = Scaled(below, width, height);
  tiles.above = Scaled(above, std::min(width, side_of(above.width, scale_above)),
                       std::min(height, side_of(above.height, scale_above)));
  tiles.x = (width - tiles.above->width) / 2;
  tiles.y = (height - tiles.above->height) / 2;
  return tiles;
}

VXIO_WorldPtr Result(const Tiles& tiles, const Mode& mode) {
  const VX_World& below = *tiles.below;
  VXIO_WorldPtr world = NewWorld(below.width, below.height, below.Depth());
  world->CopyWorld(&below);
  VX_CompositeModePlus plus(mode.number, 1.0f, /*linear_tables=*/nullptr, /*keep_dst_alpha=*/false,
                            /*dissolve_seed=*/0);
  // mask-mix needs a mask: the alpha of the picture above.
  VX_MaskSpec mask{tiles.above.get(), static_cast<int16_t>(tiles.y), static_cast<int16_t>(tiles.x),
                   VX_MaskUse_Alpha};
  DrawAt(*tiles.above, plus, mode.number == VX_Xfer_MaskMix ? &mask : nullptr, tiles.x, tiles.y,
         world.get(), std::string("mode ") + mode.name);
  return world;
}

VXIO_WorldPtr MakeSheet(const Tiles& tiles, int32_t columns) {
  const int32_t width = tiles.below->width, height = tiles.below->height;
  const auto count = static_cast<int32_t>(Modes().size());
  const int32_t rows = (count + columns - 1) / columns;
  const int64_t sheet_width = kMargin + int64_t{columns} * (width + kMargin);
  const int64_t sheet_height = kMargin + int64_t{rows} * (height + kLabel + kMargin);
  if (sheet_width > 30000 || sheet_height > 30000) {
    throw UsageError("--tile, --columns: the sheet would be larger than 30000 pixels on a side");
  }
  VXIO_WorldPtr sheet =
      NewWorld(static_cast<int32_t>(sheet_width), static_cast<int32_t>(sheet_height), 8);
  const VX_Pixel8 dark = {255, 32, 32, 32};
  Check(VX_Fill(nullptr, &dark, nullptr, sheet.get()), "sheet");
  VXIO_WorldPtr checkers = Checkers(width, height);
  for (int32_t i = 0; i < count; ++i) {
    const Mode& mode = Modes()[static_cast<size_t>(i)];
    int32_t x = kMargin + i % columns * (width + kMargin);
    int32_t y = kMargin + i / columns * (height + kLabel + kMargin);
    VXIO_WorldPtr result = VXIO_ConvertDepth(Result(tiles, mode), 8);
    DrawAt(*checkers, InFront(), nullptr, x, y, sheet.get(), "sheet");
    DrawAt(*result, InFront(), nullptr, x, y, sheet.get(), "sheet");
    VXIO_WorldPtr label =
        VXIO_RenderText(std::to_string(mode.number) + " " + mode.name, kFont, /*grey=*/230);
    DrawAt(*label, InFront(), nullptr, x + 2, y + height + 2, sheet.get(), "sheet");
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
  write.metadata = ProfileAlone(options.above, above);
  const Tiles tiles = MakeTiles(*above.world, *below.world, options.tile);
  above.world.reset();
  below.world.reset();
  Warn(VXIO_Write(options.output, *MakeSheet(tiles, options.columns), write));
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
      DepthOption(&to->depth,
                  "%r: bits a channel to blend in; keep is the deeper of the two; the sheet itself "
                  "has 8"),
      Option{"--tile", "PIXELS", Integer(&to->tile, 16, 4096), "Longer side of a tile, %r pixels"}
          .Default("192"),
      Option{"--columns", "NUMBER", Integer(&to->columns, 1, 39), "Tiles in a row, %r"}.Default(
          "8"),
      Option{"--overwrite", "", Flag(&to->overwrite), "Replace SHEET when it exists"}.Without(
          "yes"),
      Option{"--no-clobber", "", Flag(&to->no_clobber), "Refuse when SHEET exists"}.Excludes(
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
