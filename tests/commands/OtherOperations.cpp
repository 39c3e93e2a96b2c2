// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

// Operations that make worlds and chunks, answer questions or hand out routines.

#include "FilterCalls.h"
#include "Operations.h"
#include "host/COR.h"

namespace {

void GaveRect(Command& c, const VX_LayerDef& world) {
  for (const int64_t n : {int64_t{world.width}, int64_t{world.height}, int64_t{world.origin_x},
                          int64_t{world.origin_y}, int64_t{world.world_flags}}) {
    c.Gave("field", n);
  }
}

// --- worlds --------------------------------------------------------------------------------------

// A world that owns its pixels, then references to parts of it.
VX_Err NewWorld(Command& c) {
  const int32_t width = c.Between(-1, 60), height = c.Between(-1, 20);
  const auto depth = static_cast<int16_t>(c.OneIn(20) ? 24 : c.depth);
  const uint32_t flags = VX_WorldFlag_Clear | (c.Flag() ? uint32_t{VX_WorldFlag_BMWorld} : 0);
  const M_LRect place{-3, 5, -3 + width, 5 + height};
  const std::unique_ptr<VX_World> world(c.Flag() ? VX_World::New(width, height, depth, flags)
                                                 : VX_World::New(place, depth, flags));
  GaveRect(c, *world);
  c.Gave("owned", world->IsReference());
  world->Fill(c.AnyPixel<VX_PixelFloat>(), c.Rect());
  const int32_t left = c.Below(width), top = c.Below(height);
  const M_LRect part{left, top, c.Between(left + 1, width), c.Between(top + 1, height)};
  const std::unique_ptr<VX_World> reference(VX_World::NewReference(world.get(), part));
  GaveRect(c, *reference);
  c.Gave("refers", reference->RefersTo(world.get()));
  reference->InvertAlpha();
  const std::unique_ptr<VX_World> twin(VX_World::NewMatchingWorld(world.get(), flags));
  twin->CopyWorld(world.get());
  twin->CopyRect(reference.get(), c.RectValue(), static_cast<int16_t>(c.Below(5)), 0);
  VX_LayerDef effect{};
  twin->FillOutEffectWorld(&effect);
  GaveRect(c, effect);
  for (int32_t y = 0; y < height; ++y) {
    c.GaveBytes("row", static_cast<char*>(twin->data) + int64_t{y} * twin->rowbytes,
                static_cast<size_t>(width * twin->PixelSize()),
                static_cast<size_t>(twin->PixelSize()), depth == 32);
  }
  c.Gave("overwritten", twin->SubWorldSafetyGutterHasBeenOverWritten());
  return VX_Ok;
}

// Other references to a world: its bitmap, memory, a descriptor; and worlds that change theirs.
VX_Err References(Command& c) {
  const auto depth = static_cast<int16_t>(c.depth);
  const int32_t width = c.Between(2, 40), height = c.Between(2, 12);
  const std::unique_ptr<VX_World> world(
      VX_World::New(width, height, depth, VX_WorldFlag_Clear | VX_WorldFlag_BMWorld));
  const M_Rect part{0, 1, static_cast<int16_t>(c.Between(1, height)),
                    static_cast<int16_t>(c.Between(2, width))};
  BM_World** const bitmap = world->GetBMWorld();
  c.Gave("bitmap depth", VX_DepthOfBMWorld(bitmap));
  VX_LayerDef described{};
  c.Gave("code", VX_EffectWorldFromBMWorld(bitmap, &described));
  GaveRect(c, described);
  const std::unique_ptr<VX_World> references[] = {
      std::unique_ptr<VX_World>(VX_World::NewReference(bitmap)),
      std::unique_ptr<VX_World>(VX_World::NewReference(bitmap, part)),
      std::unique_ptr<VX_World>(VX_World::NewReference(&described)),
      std::unique_ptr<VX_World>(
          VX_World::NewReference(world->data, width, height, depth, world->rowbytes)),
      std::unique_ptr<VX_World>(VX_World::New(width, height, depth, VX_WorldFlag_Clear))};
  references[4]->ReReference(world.get(), part);
  references[3]->ShrinkToSubRect(part);
  for (const std::unique_ptr<VX_World>& reference : references) {
    GaveRect(c, *reference);
    c.Gave("refers", reference->RefersTo(world.get()));
    c.Gave("has bitmap", reference->HasBMWorld());
    reference->Fill(c.AnyPixel<VX_Pixel16>(), c.Rect());
  }
  for (int32_t y = 0; y < height; ++y) {
    const auto pixel = static_cast<size_t>(world->PixelSize());
    c.GaveBytes("row", static_cast<char*>(world->data) + int64_t{y} * world->rowbytes,
                static_cast<size_t>(width) * pixel, pixel, depth == 32);
  }
  references[2]->ForgetPixels();
  return VX_Ok;
}

VX_Err EffectWorld(Command& c) {
  VX_LayerDef world{};
  const int32_t width = c.Between(0, 40), height = c.Between(0, 10);
  const bool bitmap = c.Flag(), by_flags = c.Flag();
  const VX_Err error =
      by_flags ? VX_NewEffectWorldFlags(nullptr, width, height, 1 + 2 * c.Below(2), &world)
               : VX_NewEffectWorld(nullptr, width, height, c.OneIn(20) ? 24 : c.depth, true, bitmap,
                                   &world);
  if (error != VX_Ok) return error;
  GaveRect(c, world);
  VX_Pixel8* p8 = nullptr;
  VX_Pixel16* p16 = nullptr;
  VX_PixelFloat* pf = nullptr;
  c.Gave("code", VX_GetPixelData8(&world, nullptr, &p8));
  c.Gave("code", VX_GetPixelData16(&world, nullptr, &p16));
  c.Gave("code", VX_GetPixelDataFloat(&world, nullptr, &pf));
  c.Gave("pixels", (p8 != nullptr) + 2 * (p16 != nullptr) + 4 * (pf != nullptr));
  int32_t depth = 0;
  VX_PixelFormat format = 0;
  c.Gave("code", VX_GetEffectWorldDepth(&world, &depth));
  c.Gave("depth", depth);
  c.Gave("code", VXp_GetPixelFormat(&world, &format));
  c.Gave("format", format);
  c.Gave("code", VXp_PixelFormatToDepth(format, &depth));
  void *first = &world, *second = &world;
  c.Gave("code", VX_GetPlatformRefs(nullptr, &world, &first, &second));
  c.Gave("references", (first != nullptr) + 2 * (second != nullptr));
  return VX_DisposeEffectWorld(nullptr, &world);
}

// Chosen channels out of an 8-bit world and into another one.
VX_Err Planes(Command& c) {
  VX_LayerDef* const from = c.World(Use::kInput, 8);
  VX_LayerDef* const to = c.World(Use::kOutput, 8, from->width, from->height);
  const auto mask = static_cast<uint32_t>(c.OneIn(20) ? 16 : c.Below(16));
  void** handle = nullptr;
  int32_t row_size = 0;
  const VX_Err error =
      VX_ExtractPlanes(nullptr, c.Sometimes(c.Hostile(from)), mask, &handle, &row_size);
  if (error != VX_Ok) return error;
  c.Gave("row size", row_size);
  const VX_Err inserted =
      VX_InsertPlanes(nullptr, handle, c.OneIn(20) ? 1 : row_size, mask, c.Sometimes(to));
  U_FreeHandle(handle);
  return inserted;
}

VX_Err ForEachPixel(Command& c) {
  VX_LayerDef* const dst = c.Destination();
  VX_LayerDef* const src = c.OneIn(3) ? nullptr : c.OneIn(3) ? dst : c.Source();
  VX_ForEachPixelOptions options;
  options.area = c.Rect();
  options.visit_uncovered = c.Flag();
  if (c.Flag()) options.origin = {static_cast<int16_t>(c.Below(4)), -3};
  options.progress = c.Progress();
  options.progress_final = c.Below(9);
  return VX_ForEachPixel(
      src, dst,
      [&](int32_t x, int32_t y, const auto* in, auto* out) -> VX_Err {
        auto pixel = *out;
        pixel = {};
        if (in != nullptr) std::memcpy(static_cast<void*>(&pixel), in, sizeof pixel);
        pixel.red = pixel.blue;
        pixel.green = static_cast<decltype(pixel.green)>((x + 3 * y) % 100);
        std::memcpy(static_cast<void*>(out), &pixel, sizeof pixel);
        return x == 40 && y == 3 ? 600 : 0;
      },
      options);
}

VX_Err GuessAlpha(Command& c) {
  VX_AlphaGuess guess{};
  const VX_LayerDef* const world = c.Hostile(c.World(Use::kInput));
  const VX_Err error = VX_GuessAlpha(nullptr, c.Sometimes(world), c.Sometimes(&guess));
  for (const int64_t n :
       {int64_t{guess.kind}, guess.partial, guess.beyond_black, guess.beyond_white}) {
    c.Gave("guess", n);
  }
  return error;
}

// --- chunks --------------------------------------------------------------------------------------

VX_Err Chunks(Command& c) {
  const auto type = c.Pick<uint32_t>({VX_ChunkType_Float, VX_ChunkType_Double, VX_ChunkType_Short,
                                      VX_ChunkType_UByte, VX_ChunkType_ThreeBytes, 0});
  VX_ChannelChunk chunks[2] = {};
  const int32_t width = c.Between(0, 9), height = c.Between(1, 5);
  const int32_t channels[2] = {c.Between(1, 4), c.Between(1, 4)};
  VX_Err error = VX_Ok;
  for (int i = 0; i < 2; ++i) {
    const VX_Err made =
        VX_NewChunk(width + (i == 1 && c.OneIn(8)), height, channels[i], type, &chunks[i]);
    if (made != VX_Ok) return made;
    c.Gave("row bytes", chunks[i].rowbytes);
    auto* const bytes = static_cast<uint8_t*>(chunks[i].locked_data);
    for (int32_t k = 0; k < chunks[i].rowbytes * height; ++k) {
      bytes[k] = static_cast<uint8_t>(c.Word());
    }
  }
  uint16_t element = 0;
  c.Gave("code", VX_ChunkDataSize(type, &element));
  c.Gave("element", element);
  c.Gave("code", VX_UnlockChunk(&chunks[0]));
  if (c.Flag()) c.Gave("code", VX_LockChunk(&chunks[0]));
  const int32_t from = c.Below(channels[0]), to = c.Between(0, channels[1]);
  std::vector<uint8_t> want(static_cast<size_t>(chunks[1].rowbytes * height));
  if (!want.empty()) std::memcpy(want.data(), chunks[1].locked_data, want.size());
  error = VX_ChannelCopy(nullptr, &chunks[0], &chunks[1], from, to);
  for (int32_t i = 0; error == VX_Ok && i < width * height; ++i) {
    std::memcpy(want.data() + (i * channels[1] + to) * element,
                static_cast<uint8_t*>(*chunks[0].handle) + (i * channels[0] + from) * element,
                element);
  }
  if (std::memcmp(chunks[1].locked_data, want.data(), want.size()) != 0) {
    c.Fail("another result of a channel copy");
  }
  c.GaveBytes("chunk", chunks[1].locked_data, static_cast<size_t>(chunks[1].rowbytes * height), 1,
              false);
  for (VX_ChannelChunk& chunk : chunks) c.Gave("code", VX_DisposeChunk(&chunk));
  return error;
}

// --- routines by number --------------------------------------------------------------------------

// The number of the slot that holds the routine, or -1.
int32_t SlotOf(const void* routine) {
  const auto* const slots = reinterpret_cast<const void* const*>(&VXp_G_OverFuncs);
  for (int32_t i = 0; i < VX_OverrideSlotCount; ++i) {
    if (routine != nullptr && slots[i] == routine) return i;
  }
  return -1;
}
VX_Err Callbacks(Command& c) {
  VX_CallbackBlock block{};
  void* routine = nullptr;
  const VX_Err error =
      VX_GetCallbackAddr(nullptr, c.Below(2), c.Below(2), c.Between(-1, 10), c.Sometimes(&routine));
  c.Gave("slot", SlotOf(routine));
  c.Gave("code", VX_GetCallbackBlock(&block));
  c.Gave("code", VX_SetCallbackBlockQuality(&block, c.Below(2)));
  for (const void* one :
       {reinterpret_cast<void*>(block.nearest), reinterpret_cast<void*>(block.bilinear),
        reinterpret_cast<void*>(block.area), reinterpret_cast<void*>(block.copy),
        reinterpret_cast<void*>(block.composite), reinterpret_cast<void*>(block.convolve),
        reinterpret_cast<void*>(block.iterate)}) {
    c.Gave("slot", SlotOf(one));
  }
  VX_SlotDescription slot{};
  c.Gave("code", VX_DescribeSlot(c.Between(-1, 118), &slot));
  if (slot.name != nullptr) c.GaveBytes("name", slot.name, std::strlen(slot.name), 1, false);
  return error;
}

// --- numbers -------------------------------------------------------------------------------------

VX_Err Numbers(Command& c) {
  auto state = static_cast<uint32_t>(c.Word());
  c.Gave("random", VX_Rand(&state));
  c.Gave("state", state);
  const double x = c.Real(-9, 9), y = c.Real(-9, 9);
  const double results[] = {VX_Hypot(x, y), VXp_GaussianValue(std::abs(x) / 6)};
  c.GaveNumbers("numbers", results, 2);
  c.Gave("size", VX_GaussianKernelSize(x * 3, c.Below(4)));
  c.Gave("version", VX_PkgObjectVersion());
  const VX_BlurSpec spec{c.Below(3), static_cast<float>(x), static_cast<float>(y), c.Below(4), 15};
  int32_t reach[2] = {7, 7};
  const VX_Err error = VX_BlurReach(&spec, &reach[0], &reach[1]);
  c.GaveNumbers("reach", reach, 2);
  c.Gave("scratch", VX_UnoScanScratch(c.Below(300), c.Between(-9, 1 << 22)));
  return error;
}

VX_Err Matrices(Command& c) {
  const VX_TransformParts from = AnyParts(c, c.Below(5)), to = AnyParts(c, c.Below(5));
  M_Matrix3 matrices[6] = {};
  const VX_Err error = VX_MatrixOfParts(c.Sometimes(&from), &matrices[0]);
  c.GaveNumbers("matrix", matrices[0].m, 9);
  const int32_t count = c.Between(0, 6);
  c.Gave("code", VX_MatricesBetween(&from, &to, count, matrices));
  for (int32_t i = 0; i < count; ++i) c.GaveNumbers("between", matrices[i].m, 9);
  return error;
}

VX_Err Constants(Command& c) {
  const size_t row = static_cast<size_t>(c.Below(256)) * 256;
  c.GaveBytes("products", VXp_G_fcm_table + row, 256, 1, false);
  c.GaveBytes("quotients", VXp_G_fcd_table + row, 256, 1, false);
  c.GaveNumbers("floats", VXp_G_ByteToFloat, 256);
  c.GaveNumbers("zeroes", VX_G_ZeroData, 64);
  for (const VX_Vector128& vector : {VX_G_AlphaMask32, VX_G_BGRMask32, VX_G_vfHalf, VX_G_vf255,
                                     VX_G_vi128_32, VX_G_viLoByteMask32, VX_G_viLoWordMask}) {
    c.GaveNumbers("vector", vector.lane, 4);
  }
  return VX_Ok;
}

// Linear tables of built-in profiles, directly and through settings.
VX_Err LinearTables(Command& c) {
  COR_QCE_ProfilePtr profile;
  const char* const name = c.Pick({"sRGB", "gamma 1.8", "gamma 2.2", "Rec.709", "ProPhoto"});
  c.Log("profile %s\n", name);
  if (COR_QCE_ProfileFromName(name, &profile) != 0) return VX_ErrColorEngine;
  const auto gave = [&c](const VX_LinearBlendingTables* tables) {
    c.Gave("tables", tables != nullptr);
    if (tables == nullptr) return;
    c.GaveNumbers("linear", tables->linearize, 256);
    c.GaveNumbers("stored", tables->delinearize, 4097);
    c.GaveNumbers("gamma", &tables->gamma, 2);
  };
  gave(VX_MakeLinearizationTables(profile).get());
  COR_QCE_ProfilePool* pool = nullptr;
  if (COR_QCE_NewProfilePool(&pool) != 0) return VX_ErrColorEngine;
  {
    VX_ColorSettings settings(pool);
    settings.SetProfile(profile);
    settings.SetLinearBlending(c.Flag());
    settings.SetLinearize(c.OneIn(3));
    gave(settings.GetLinearBlendingTables(c.OneIn(3)));
    const VX_ColorSettings copy(settings);
    const float gamma = copy.GetCalGrayGamma();
    c.GaveNumbers("gamma", &gamma, 1);
    c.Gave("order", copy.GetSortOrder(settings));
    const std::u16string text = VX_GetWorkingSpaceProfileName(&copy);
    c.GaveBytes("name", text.data(), 2 * text.size(), 2, false);
  }
  COR_QCE_DisposeProfilePool(pool);
  return VX_Ok;
}

}  // namespace

std::vector<Operation> OtherOperations() {
  return {
      {"VX_World::New", &NewWorld},
      {"VX_World::NewReference", &References},
      {"VX_NewEffectWorld", &EffectWorld},
      {"VX_ExtractPlanes", &Planes},
      {"VX_ForEachPixel", &ForEachPixel},
      {"VX_GuessAlpha", &GuessAlpha},
      {"VX_NewChunk", &Chunks},
      {"VX_GetCallbackAddr", &Callbacks},
      {"VX_Rand", &Numbers},
      {"VX_MatrixOfParts", &Matrices},
      {"VXp_G_fcm_table", &Constants},
      {"VX_MakeLinearizationTables", &LinearTables},
  };
}
