// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#include "frameblend/cache/FnRecord.h"

#include <bit>
#include <vector>

#include "frame/VXp_Report.h"

namespace {

constexpr int64_t kMostPixels = int64_t{1} << 28;

// Words as little-endian bytes.
class Words {
 public:
  explicit Words(int64_t count) : bytes_(static_cast<size_t>(count) * 4) {}

  void Put(uint32_t word) {
    for (int shift = 0; shift < 32; shift += 8) bytes_[at_++] = static_cast<uint8_t>(word >> shift);
  }
  void Put(int32_t value) { Put(static_cast<uint32_t>(value)); }
  void Put(float value) { Put(std::bit_cast<uint32_t>(value)); }

  uint32_t Word() {
    uint32_t word = 0;
    for (int shift = 0; shift < 32; shift += 8) word |= uint32_t{bytes_[at_++]} << shift;
    return word;
  }
  int32_t Int() { return static_cast<int32_t>(Word()); }
  float Float() { return std::bit_cast<float>(Word()); }

  void Rewind() { at_ = 0; }
  uint8_t* data() { return bytes_.data(); }
  int64_t size() const { return static_cast<int64_t>(bytes_.size()); }

 private:
  std::vector<uint8_t> bytes_;
  size_t at_ = 0;
};

void PutAxes(const FnTexIndexer& axes, Words* words) {
  for (const FnTexAxis* const axis : {&axes.x, &axes.y}) {
    words->Put(axis->size);
    words->Put(axis->originF);
    words->Put(axis->origin);
    words->Put(axis->edgeMode);
    words->Put(axis->lo);
    words->Put(axis->hi);
  }
  words->Put(uint32_t{0});
}

void PutRows(const FnVectorMap& field, const FnByteSink& sink) {
  Words words(int64_t{field.width()} * 2);
  for (int32_t y = 0; y < field.height(); ++y) {
    words.Rewind();
    for (int32_t x = 0; x < field.width(); ++x) {
      words.Put(field.row(y)[x].x);
      words.Put(field.row(y)[x].y);
    }
    sink(words.data(), words.size());
  }
}

void Require(bool consistent) {
  if (!consistent) VXp_Throw(VX_ErrBadParameter);
}

// Reads a descriptor of a map of this size. An index beyond the map would be read later.
FnTexIndexer TakeAxes(int32_t width, int32_t height, Words* words) {
  FnTexIndexer axes;
  for (FnTexAxis* const axis : {&axes.x, &axes.y}) {
    axis->SetSize(axis == &axes.x ? width : height);
    Require(words->Int() == axis->size);
    axis->originF = words->Float();
    axis->origin = axis->first = words->Int();
    axis->edgeMode = words->Int();
    axis->lo = words->Int();
    axis->hi = words->Int();
    Require(axis->edgeMode >= FnEdge_Transparent && axis->edgeMode <= FnEdge_Wrap);
    Require(axis->lo >= 0 && axis->lo <= int64_t{axis->hi} + 1 && axis->hi < axis->size);
    axis->count = axis->hi - axis->lo + 1;
  }
  Require(words->Word() == 0);
  return axes;
}

void TakeRows(const FnTexIndexer& axes, const FnByteSource& source, FnVectorMap* field) {
  if (!field->allocate(axes.x.size, axes.y.size)) VXp_Throw(VX_ErrOutOfMemory);
  static_cast<FnTexIndexer&>(*field) = axes;
  if (field->isEmpty()) return;
  Words words(int64_t{axes.x.size} * 2);
  for (int32_t y = 0; y < axes.y.size; ++y) {
    source(words.data(), words.size());
    words.Rewind();
    for (int32_t x = 0; x < axes.x.size; ++x) {
      HvVec2& v = field->row(y)[x];
      v.x = words.Float();
      v.y = words.Float();
    }
  }
}

}  // namespace

void FnWriteRecord(const FnVeltorVectors& vectors, const FnByteSink& sink) {
  Words header(kFnRecordHeader / 4);
  header.Put(vectors.width());
  header.Put(vectors.height());
  PutAxes(vectors.firstAxes, &header);
  PutAxes(vectors.secondAxes, &header);
  PutAxes(vectors.forward, &header);
  PutAxes(vectors.backward, &header);
  sink(header.data(), header.size());
  PutRows(vectors.forward, sink);
  PutRows(vectors.backward, sink);
}

std::unique_ptr<FnVeltorVectors> FnReadRecord(const FnByteSource& source) {
  Words header(kFnRecordHeader / 4);
  source(header.data(), header.size());
  const int32_t width = header.Int(), height = header.Int();
  Require(width >= 0 && height >= 0 && int64_t{width} * height <= kMostPixels);
  auto vectors = std::make_unique<FnVeltorVectors>();
  vectors->firstAxes = TakeAxes(width, height, &header);
  vectors->secondAxes = TakeAxes(width, height, &header);
  const FnTexIndexer forward = TakeAxes(width, height, &header);
  const FnTexIndexer backward = TakeAxes(width, height, &header);
  TakeRows(forward, source, &vectors->forward);
  TakeRows(backward, source, &vectors->backward);
  return vectors;
}
