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

struct ModesWords {
  std::vector<std::string> pictures;
  std::string output, depth = "keep", tile = "192", columns = "8";
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

// Shows through where a result is transparent.
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

// The two pictures at the size of a tile; the one above keeps its proportion to the one below, or
// is made to fit when it is larger.
struct Tiles {
  VXIO_WorldPtr above, below;
  int32_t x, y;  // of the one above
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
  // Mixing takes its weight from a mask; the alpha of the picture above serves.
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

int Run(const ModesWords& words) {
  int32_t depth = ParseDepth(words.depth, Keep::Allowed);
  auto tile = static_cast<int32_t>(ParseInteger("--tile", words.tile, 16, 4096));
  auto columns = static_cast<int32_t>(ParseInteger("--columns", words.columns, 1, 39));
  VXIO_WriteOptions options;
  options.clobber = words.no_clobber ? VXIO_Clobber::Refuse : VXIO_Clobber::Overwrite;
  VXIO_CheckOutput(words.output, options.clobber);
  VXIO_Picture above = VXIO_Read(words.pictures[0], depth);
  VXIO_Picture below = VXIO_Read(words.pictures[1], depth);
  Warn(above.warnings);
  Warn(below.warnings);
  int32_t deepest = std::max(above.world->Depth(), below.world->Depth());
  above.world = VXIO_ConvertDepth(std::move(above.world), deepest);
  below.world = VXIO_ConvertDepth(std::move(below.world), deepest);
  options.metadata = ProfileAlone(words.pictures[0], above);
  Tiles tiles = MakeTiles(*above.world, *below.world, tile);
  above.world.reset();
  below.world.reset();
  Warn(VXIO_Write(words.output, *MakeSheet(tiles, columns), options));
  return kDone;
}

}  // namespace

Verb AddModes(CLI::App* root) {
  auto words = std::make_shared<ModesWords>();
  CLI::App* app =
      root->add_subcommand("modes", "Draw a labelled contact sheet of all transfer modes");
  app->add_option("--sheet", words->pictures, "The picture above and the picture below")
      ->type_name("A B")
      ->expected(2)
      ->required();
  app->add_option("-o,--output", words->output, "Picture to write")->type_name("SHEET")->required();
  app->add_option(
         "--depth", words->depth,
         "8, 16, 32 or keep: bits a channel to blend in; keep is the deeper of the two; the "
         "sheet itself has 8 [keep]")
      ->type_name("BITS");
  app->add_option("--tile", words->tile, "Longer side of a tile, 16 to 4096 pixels [192]")
      ->type_name("PIXELS");
  app->add_option("--columns", words->columns, "Tiles in a row, 1 to 39 [8]")->type_name("NUMBER");
  auto* overwrite =
      app->add_flag("--overwrite", words->overwrite, "Replace SHEET when it exists [yes]");
  app->add_flag("--no-clobber", words->no_clobber, "Refuse when SHEET exists")->excludes(overwrite);
  app->footer("Example:\n  vx modes --sheet sprite.png photo.jpg -o sheet.png");
  return {app, [words] { return Run(*words); }};
}

}  // namespace vxcli
