// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

// The C++20 interface: each function gives the pixels of its C-style calls; the lifetime of the
// library, views, errors and stops.

#include <gtest/gtest.h>

#include <VX/VX.hpp>
#include <cstring>
#include <random>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

namespace {

using vx::AnyConstView;
using vx::AnyView;

// Random pixels in memory whose rows begin at odd addresses.
struct Memory {
  Memory(int32_t width, int32_t height, int32_t depth, uint32_t seed) {
    std::mt19937 random(seed);
    vx::visit_depth(depth, [&]<class Pixel>() {
      const size_t pitch = static_cast<size_t>(width) * sizeof(Pixel) + 3;
      bytes.resize(pitch * static_cast<size_t>(height) + 1);
      view = vx::View<Pixel>(reinterpret_cast<Pixel*>(bytes.data() + 1), width, height,
                             static_cast<ptrdiff_t>(pitch));
      const auto channel = [&] {
        const double share = static_cast<double>(random() % 9) / 8;
        return static_cast<VX_ChannelOf<Pixel>>(share * vx::full_scale(depth));
      };
      for (int32_t i = 0; i < width * height; ++i) {
        const Pixel pixel{channel(), channel(), channel(), channel()};
        std::memcpy(&bytes[1 + static_cast<size_t>(i / width) * pitch +
                           static_cast<size_t>(i % width) * sizeof(Pixel)],
                    &pixel, sizeof pixel);
      }
    });
  }
  std::vector<uint8_t> bytes;
  AnyView view;
};

template <class Code>
vx::ErrorCode CodeOf(Code&& code) {
  try {
    code();
  } catch (const vx::Error& error) {
    return error.code();
  }
  return vx::ErrorCode{};
}

const M_Matrix3 kTurn{{0.8, 0.6, 0, -0.6, 0.8, 0, 6.25, -1.5, 1}};
const M_Matrix3 kZoom{{1.6, 0, 0, 0, 1.6, 0, -2, -3, 1}};

// --- each function against its C-style calls -----------------------------------------------------

using Out = VX_LayerDef*;
using In = const VX_LayerDef*;

// A row may make several calls; each of them changes the pixels at every depth.
struct Operation {
  const char* name;
  void (*modern)(AnyView dst, AnyConstView src);
  void (*classic)(Out dst, In src);
};

const VX_Pixel8 kColor8{254, 200, 100, 7};
const VX_Pixel16 kColor16{32768, 200, 10000, 7};
const VX_PixelFloat kColorFloat{0.75f, 0.5f, 0.25f, 1};
const M_Rect kArea{1, 2, 7, 9};
const vx::Rect kRect{2, 1, 9, 7};
const M_Matrix3 kMotion[] = {kTurn, kZoom, kTurn};
const int32_t kSharp[] = {-64, 512, -64}, kSoft[] = {1, 2, 1};

const vx::LinearTables* Tables() {
  static const auto tables = vx::linear_tables(vx::Profile::named("sRGB"));
  return tables.get();
}

VX_CompositeModePlus ModeOf(int32_t mode, float opacity = 1, bool keep = false, int32_t seed = 0) {
  return {mode, opacity, nullptr, keep, seed};
}

VX_MaskSpec MaskOf(In src, int32_t what) { return {const_cast<Out>(src), -1, 2, what}; }

const Operation kOperations[] = {
    {"composite",
     [](AnyView d, AnyConstView s) {
       vx::composite(d, s);
       vx::composite(d, s, {.mode = vx::Mode::overlay, .linear = Tables(), .keep_alpha = true});
       vx::composite(d, s.part(kRect),
                     {.mode = vx::Mode::dissolve,
                      .opacity = 0.3,
                      .at = {3, -1},
                      .mask = vx::Mask{s, {2, -1}, vx::MaskUse::inverse_luma},
                      .field = vx::Field::odd_rows,
                      .seed = 99});
     },
     [](Out d, In s) {
       const VX_CompositeModePlus modes[] = {ModeOf(VX_Xfer_InFront),
                                             ModeOf(VX_Xfer_Overlay, 1, true),
                                             ModeOf(VX_Xfer_Dissolve, 0.3f, false, 99)};
       const VX_MaskSpec mask = MaskOf(s, VX_MaskUse_InverseLuma);
       VX_TransferRect(nullptr, 1, 0, 0, nullptr, s, &modes[0], nullptr, nullptr, 0, 0, d);
       VX_TransferRect(nullptr, 1, 0, 0, nullptr, s, &modes[1], Tables(), nullptr, 0, 0, d);
       VX_TransferRect(nullptr, 1, 0, VX_Field_OddRows, &kArea, s, &modes[2], nullptr, &mask, 3, -1,
                       d);
     }},
    {"fill",
     [](AnyView d, AnyConstView) {
       vx::fill(d, kColor8);
       vx::fill(d, kColor16, {.area = kRect});
       vx::fill(d, kColorFloat, {.area = vx::Rect{5, 4, 99, 6}});
     },
     [](Out d, In) {
       const M_Rect last{4, 5, 6, 99};
       VX_Fill(nullptr, &kColor8, nullptr, d);
       VX_Fill16(nullptr, &kColor16, &kArea, d);
       VX_FillFloat(nullptr, &kColorFloat, &last, d);
     }},
    {"copy", [](AnyView d, AnyConstView s) { vx::copy(d, s, {.from = kRect}); },
     [](Out d, In s) { VX_CopyBits_HQ_Straight(nullptr, s, d, &kArea, nullptr); }},
    {"copy premultiplied",
     [](AnyView d, AnyConstView s) { vx::copy(d, s, {.to = kRect, .premultiplied = true}); },
     [](Out d, In s) { VX_CopyBits_HQ_Premul(nullptr, s, d, nullptr, &kArea); }},
    {"copy draft",
     [](AnyView d, AnyConstView s) { vx::copy(d, s, {.quality = vx::Quality::draft}); },
     [](Out d, In s) { VX_CopyBits_Draft(nullptr, s, d, nullptr, nullptr); }},
    {"resize", [](AnyView d, AnyConstView s) { vx::resize(d, s); },
     [](Out d, In s) { VX_ResizeWorld(nullptr, VX_Quality_High, s, d); }},
    {"premultiply",
     [](AnyView d, AnyConstView) {
       vx::premultiply(d, {.area = kRect, .matte = kColor8});
       vx::premultiply(d, {.matte = kColor16});
       vx::unpremultiply(d, {.matte = kColorFloat});
       vx::unpremultiply(d, {.area = kRect});
     },
     [](Out d, In) {
       VX_PremulColorRect(nullptr, 1, &kColor8, &kArea, d);
       VX_PremulColorRect16(nullptr, 1, &kColor16, nullptr, d);
       VX_PremulColorRectFloat(nullptr, 0, &kColorFloat, nullptr, d);
       VX_PremulRect(nullptr, 0, &kArea, d);
     }},
    {"blur",
     [](AnyView d, AnyConstView s) {
       vx::blur(d, s, {.radius = {2.5, 1}, .hold_level = false, .at = {2, 1}});
     },
     [](Out d, In s) {
       const VX_BlurSpec spec{VX_BlurKind_Gaussian, 2.5f, 1, 1, VX_Blur_AllChannels};
       VX_LayerDef from = *s;
       from.origin_x = 2;
       from.origin_y = 1;
       VX_BlurWorld(nullptr, &from, &spec, d);
     }},
    {"blur by boxes",
     [](AnyView d, AnyConstView s) {
       vx::blur(
           d, s,
           {.kind = vx::BlurKind::box, .radius = 1.5, .iterations = 3, .channels = {.red = false}});
     },
     [](Out d, In s) {
       const VX_BlurSpec spec{VX_BlurKind_Box, 1.5f, 1.5f, 3,
                              (VX_Blur_AllChannels & ~VX_Blur_Red) | VX_Blur_HoldLevel};
       VX_BlurWorld(nullptr, s, &spec, d);
     }},
    {"convolve",
     [](AnyView d, AnyConstView s) {
       const vx::Kernel sharp{{-64, 512, -64}, 3, true}, soft{{1, 2, 1}, 3, true};
       vx::convolve(d, s, {&soft, &sharp, &soft, &sharp},
                    {.normalize = false, .clamp = false, .vertical = true});
     },
     [](Out d, In s) {
       constexpr int32_t flags = VX_Kernel_OneDimensional | VX_Kernel_NoClamp | VX_Kernel_Vertical;
       VX_Convolve(nullptr, s, nullptr, flags, 3, kSoft, kSharp, kSoft, kSharp, d);
     }},
    {"convolve with a Gaussian",
     [](AnyView d, AnyConstView s) { vx::convolve(d, s, vx::gaussian_kernel(1.5)); },
     [](Out d, In s) {
       int32_t k[25], diameter = 0;
       VX_GaussianKernel(nullptr, 1.5, VX_Kernel_Normalize, 1, &diameter, k);
       VX_Convolve(nullptr, s, nullptr, VX_Kernel_Normalize, diameter, k, k, k, k, d);
     }},
    {"transform",
     [](AnyView d, AnyConstView s) {
       vx::transform(d, s, kMotion, {.mode = vx::Mode::add, .quality = vx::Quality::draft});
       vx::transform(
           d, s, kTurn,
           {.opacity = 0.5, .mask = vx::Mask{s, {2, -1}}, .to_source = true, .area = kRect});
     },
     [](Out d, In s) {
       const VX_MaskSpec mask = MaskOf(s, VX_MaskUse_Alpha);
       const VX_CompositeModePlus add = ModeOf(VX_Xfer_Add), half = ModeOf(VX_Xfer_InFront, 0.5f);
       VX_TransformMotion(nullptr, 0, 0, s, &add, nullptr, nullptr, kMotion, 3, 1, nullptr, d);
       VX_TransformWorld(nullptr, 1, 0, 0, s, &half, nullptr, &mask, &kTurn, 1, 0, &kArea, d);
     }},
    {"masks",
     [](AnyView d, AnyConstView s) {
       vx::MaskBuffer mask = vx::matte(s, vx::Matte::inverse_luma);
       vx::feather(mask, {.radius = {2, 1}, .kind = vx::Feather::soft});
       vx::fade(mask, 0.75);
       vx::invert(mask);
       vx::merge(d, mask, {.at = {1, 2}, .area = kRect});
       vx::copy(d.part({9, 0, 13, 8}), vx::to_image(mask), {.quality = vx::Quality::draft});
     },
     [](Out d, In s) {
       VX_UnoBuffer mask(s->width, s->height, VXp_WorldDepth(s));
       VX_MatteFromWorld(nullptr, s, VX_Matte_InverseLuma, &mask);
       VX_FeatherUnoBuffer(nullptr, VX_Feather_Soft, 2, 1, &mask);
       VX_FadeUnoBuffer(0.75, &mask);
       VX_InvertUnoBuffer(nullptr, &mask);
       const std::unique_ptr<VX_World> world(VX_World::NewReference(d));
       VX_MergeMaskAlpha(nullptr, 1, 2, &kArea, &mask, nullptr, world.get());
       vx::Image grey(s->width, s->height, VXp_WorldDepth(s));
       VX_WorldFromMatte(nullptr, &mask, grey.world());
       const M_Rect place{0, 9, 8, 13};
       VX_CopyBits_Draft(nullptr, grey.world(), d, nullptr, &place);
     }},
};

TEST(Cpp, FunctionsGiveThePixelsOfTheirClassicCalls) {
  const vx::Library library;
  for (const int32_t depth : {8, 16, 32}) {
    const Memory src(11, 8, depth, 1);
    for (const Operation& operation : kOperations) {
      SCOPED_TRACE(operation.name + std::string(" at ") + std::to_string(depth) + " bits");
      Memory modern(13, 9, depth, 2), classic(13, 9, depth, 2);
      const std::vector<uint8_t> before = modern.bytes;
      operation.modern(modern.view, src.view);
      operation.classic(classic.view.descriptor(), src.view.descriptor());
      EXPECT_EQ(modern.bytes, classic.bytes);
      EXPECT_NE(modern.bytes, before);
    }
  }
}

TEST(Cpp, ConversionsSamplesAndGuesses) {
  const vx::Library library;
  const Memory src(11, 8, 32, 1);
  Memory modern(13, 9, 8, 2), classic(13, 9, 8, 2);
  VX_ResetDitherRandomIndex();
  vx::convert(modern.view, src.view, {.at = {-2, 3}, .dither = true});
  VX_ResetDitherRandomIndex();
  VX_DepthConvertWorld(nullptr, src.view.descriptor(), nullptr, 1, -2, 3,
                       classic.view.descriptor());
  EXPECT_EQ(modern.bytes, classic.bytes);

  const vx::Image floats = vx::convert(modern.view, 32);
  const vx::Sampler sample(floats.view<vx::PixelFloat>(),
                           {.filter = vx::SampleFilter::box, .radius = {1.5, 1}});
  VX_SampPB record{};
  record.x_radius = 98304;
  record.y_radius = 65536;
  record.area = 4 * 98304;
  record.src = const_cast<VX_World*>(floats.world());
  VX_PixelFloat expected{};
  VX_AreaSample_CPlusPlus<VX_PixelFloat>(nullptr, 327680, 278528, &record, &expected);
  const vx::PixelFloat got = sample(5, 4.25);
  EXPECT_EQ(std::memcmp(&got, &expected, sizeof got), 0);
  EXPECT_EQ(sample(-1e9, 0).alpha, 0);

  VX_AlphaGuess counts{};
  VX_GuessAlpha(nullptr, floats.world(), &counts);
  const vx::AlphaGuess guess = vx::guess_alpha(floats);
  EXPECT_EQ(static_cast<int32_t>(guess.kind), counts.kind);
  EXPECT_EQ(guess.partial, counts.partial);
  EXPECT_EQ(vx::guess_alpha(vx::Image(2, 2, 8)).kind, vx::AlphaKind::unknown);
  EXPECT_EQ(vx::blur_reach({.radius = {2.5, 0}}).x, 3);
}

// --- lifetime, views, errors, progress -----------------------------------------------------------

TEST(Cpp, LibraryEndsWithItsLastHolder) {
  {
    vx::Library first;
    { const vx::Library second; }
    ASSERT_NE(VXp_G_fcm_table, nullptr);
    EXPECT_EQ(VXp_G_fcm_table[128 * 256 + 255], 128);
    vx::Library moved = std::move(first);
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) threads.emplace_back([] { const vx::Library held; });
    for (std::thread& thread : threads) thread.join();
    EXPECT_NE(VXp_G_fcm_table, nullptr);
  }
  EXPECT_EQ(VXp_G_fcm_table, nullptr);
  EXPECT_EQ(VX_ReleaseLibrary(), VX_ErrBadParameter);
  EXPECT_EQ(VX_AcquireLibrary(VX_PKG_VERSION + 1), VX_ErrVersion);
  EXPECT_EQ(VXp_G_fcm_table, nullptr);
}

// The object that initialises the library sets the number of threads, the others do not.
TEST(Cpp, ThreadsOfTheLibrary) {
  const auto threads_with = [](const vx::LibraryOptions& options) {
    const vx::Library library(options);
    VX_SlotDescription slot{};
    EXPECT_EQ(VX_DescribeSlot(53, &slot), VX_Ok);
    EXPECT_EQ(slot.state, VX_SlotState_Replaced);  // by the module
    return U_GetNumThreads();
  };
  {
    const vx::Library library({.threads = 3});
    EXPECT_EQ(VX_MotionThreads(), 3);
    EXPECT_EQ(threads_with({.threads = 5}), 3);
  }
  EXPECT_EQ(threads_with({}), 3);  // a number that was set is kept
  EXPECT_EQ(threads_with({.threads = 1}), 1);
  EXPECT_EQ(CodeOf([&] { threads_with({.threads = -1}); }), vx::ErrorCode::bad_parameter);
  EXPECT_EQ(VX_AcquireLibraryWith(
                VX_PKG_VERSION, [](void*) { return 99; }, nullptr),
            99);
  EXPECT_EQ(VX_ReleaseLibrary(), VX_ErrBadParameter);
}

TEST(Cpp, ImagesAndViews) {
  const vx::Library library;
  vx::Image image(5, 4, 16);
  image.view<vx::Pixel16>().part({1, 2, 4, 4}).row(1)[2].blue = 77;
  EXPECT_EQ(image.view<vx::Pixel16>().row(3)[3].blue, 77);
  EXPECT_EQ(vx::clone(image).view<vx::Pixel16>().row(3)[3].blue, 77);
  const vx::Image taken = std::move(image);
  EXPECT_TRUE(image.empty());  // NOLINT(bugprone-use-after-move)
  EXPECT_EQ(taken.width() * 100 + taken.height() * 10 + taken.depth(), 556);
  EXPECT_EQ(vx::visit(taken, [](auto view) { return view.row(3)[3].blue * 1.0; }), 77);

  // Rows that run upwards in memory.
  vx::Pixel8 pixels[6] = {};
  const vx::View<vx::Pixel8> upwards(pixels + 4, 2, 3, -8);
  vx::fill(upwards.part({0, 2, 2, 3}), vx::Pixel8{1, 2, 3, 4});
  EXPECT_EQ(pixels[0].alpha + pixels[1].blue, 5);
  EXPECT_EQ(pixels[2].alpha, 0);

  const auto refused = vx::ErrorCode::bad_parameter;
  EXPECT_EQ(CodeOf([&] { vx::View<vx::Pixel8>(pixels, 2, 3, 7); }), refused);
  EXPECT_EQ(CodeOf([&] { vx::View<vx::Pixel8>(pixels, -1, 3); }), refused);
  EXPECT_EQ(CodeOf([&] { taken.part({0, 0, 6, 1}); }), refused);
  EXPECT_EQ(CodeOf([&] { taken.view<vx::Pixel8>(); }), refused);
  EXPECT_EQ(CodeOf([&] { vx::Image(1, 1, 24); }), refused);
  EXPECT_EQ(CodeOf([&] { vx::Image(1, 30001, 8); }), vx::ErrorCode::reported);
}

TEST(Cpp, ErrorsHaveAReasonAndKeepTheDestination) {
  const vx::Library library;
  Memory dst(6, 5, 8, 3);
  const Memory other(6, 5, 16, 4);
  const std::vector<uint8_t> before = dst.bytes;
  const vx::Mask far{dst.view, {40000, 0}};
  const vx::Image none;
  const auto refused = vx::ErrorCode::bad_parameter;
  EXPECT_EQ(CodeOf([&] { vx::composite(dst.view, dst.view, {.opacity = 1.5}); }), refused);
  EXPECT_EQ(CodeOf([&] { vx::composite(dst.view, dst.view, {.mask = far}); }), refused);
  EXPECT_EQ(CodeOf([&] { vx::composite(dst.view, none); }), refused);
  EXPECT_EQ(CodeOf([&] {
              vx::fill(dst.view, kColor8, {.area = vx::Rect{0, 0, 40000, 1}});
            }),
            refused);
  EXPECT_EQ(CodeOf([&] {
              vx::convolve(dst.view, dst.view, vx::Kernel{{1, 2}, 3, true});
            }),
            refused);
  EXPECT_EQ(CodeOf([&] { vx::transform(dst.view, other.view, std::span<const vx::Matrix>()); }),
            refused);
  EXPECT_EQ(dst.bytes, before);
  try {
    vx::composite(dst.view, other.view);
    FAIL() << "unequal depths";
  } catch (const vx::Error& error) {
    EXPECT_STREQ(error.name(), "bad parameter");
    EXPECT_NE(error.report().find("same bit depth"), std::string::npos) << error.what();
    EXPECT_EQ(error.what(), "bad parameter: " + error.report());
  }
  // A later error without a report does not repeat the earlier one.
  std::stop_source source;
  source.request_stop();
  try {
    vx::convert(dst.view, other.view, {.progress = source.get_token()});
    FAIL() << "a stop";
  } catch (const vx::Error& error) {
    EXPECT_EQ(error.code(), vx::ErrorCode::stopped);
    EXPECT_STREQ(error.what(), "stopped");
  }
  EXPECT_THROW(vx::resize(dst.view, dst.view,
                          {.progress = [](int, int) { throw std::out_of_range("mine"); }}),
               std::out_of_range);
  EXPECT_EQ(CodeOf([] { vx::Profile::named("no such profile"); }),
            static_cast<vx::ErrorCode>(QCE_UnknownName));
}

TEST(Cpp, NamesOfModes) {
  static_assert(vx::find_mode("soft-light") == vx::Mode::soft_light);
  // Each name finds its own mode: no alias is the name of another mode without the hyphens.
  for (const vx::ModeInfo& info : vx::modes()) EXPECT_EQ(vx::find_mode(info.name), info.mode);
  for (const vx::ModeAlias& alias : vx::mode_aliases()) {
    EXPECT_EQ(vx::find_mode(alias.name), alias.mode) << alias.name;
  }
  static_assert(vx::find_mode("Linear_Burn") == vx::Mode::linear_burn);
  static_assert(vx::find_mode("SoftLight") == vx::Mode::soft_light);
  static_assert(vx::find_mode("Normal") == vx::Mode::in_front);
  static_assert(!vx::find_mode("") && !vx::find_mode("soft-lights") && !vx::find_mode("soft"));
  static_assert(static_cast<int32_t>(vx::Mode::darker_color) == VX_Xfer_DarkerColor);
  EXPECT_STREQ(vx::name(vx::Mode::soft_light), "soft-light");
  EXPECT_EQ(vx::name(static_cast<vx::Mode>(-1)), nullptr);
}

}  // namespace
