// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
#include "KernelFile.h"

#include <algorithm>
#include <charconv>
#include <numeric>

#include "Errors.h"
#include "VX/VX_Convolve.h"
#include "VXIO/VXIO_Picture.h"
#include "Values.h"

namespace vxcli {

namespace {

[[noreturn]] void Refuse(const std::string& path, const std::string& text) {
  throw VXIO_Error(VXIO_ErrorKind::Input, path + ": " + text);
}

struct Row {
  int line;  // of the file, from 1
  std::vector<int32_t> numbers;
};
using Block = std::vector<Row>;

class Parser {
 public:
  Parser(const std::string& path, const std::string& text) : path_(path), text_(text) {}

  std::vector<Block> Blocks() {
    size_t begin = 0;
    for (bool fresh = true; begin < text_.size(); ++line_) {
      const size_t end = std::min(text_.find('\n', begin), text_.size());
      std::string line = text_.substr(begin, end - begin);
      begin = end + 1;
      const size_t comment = std::min(line.find('#'), line.size());
      const bool commented = comment < line.size();
      line.resize(comment);
      Row row{line_, NumbersOf(line)};
      if (!row.numbers.empty()) {
        if (fresh) blocks_.emplace_back();
        fresh = false;
        blocks_.back().push_back(std::move(row));
      } else if (!commented) {
        fresh = true;
      }
    }
    return std::move(blocks_);
  }

 private:
  [[noreturn]] void RefuseLine(const std::string& text) const {
    Refuse(path_, "line " + std::to_string(line_) + ": " + text);
  }

  std::vector<int32_t> NumbersOf(const std::string& line) const {
    static constexpr const char* kBlanks = " \t\v\f\r";
    std::vector<int32_t> numbers;
    bool comma = true;  // no number since the last one, or since the line began
    for (size_t at = line.find_first_not_of(kBlanks); at < line.size();
         at = line.find_first_not_of(kBlanks, at)) {
      if (line[at] == ',') {
        if (comma) RefuseLine("a comma without a number before it");
        comma = true;
        ++at;
        continue;
      }
      const size_t end = std::min(line.find_first_of(" \t\v\f\r,", at), line.size());
      numbers.push_back(NumberOf(line.substr(at, end - at)));
      comma = false;
      at = end;
    }
    return numbers;
  }

  int32_t NumberOf(std::string word) const {
    const char* begin = word.data();
    const char* end = begin + word.size();
    if (word.size() > 1 && word[0] == '+' && word[1] != '-') ++begin;
    int32_t number = 0;
    const auto [stop, error] = std::from_chars(begin, end, number);
    const bool digits = stop == end;
    if (digits && error == std::errc()) return number;
    for (char& c : word) {
      if (static_cast<unsigned char>(c) >= 127) c = '?';
    }
    if (word.size() > 24) word = word.substr(0, 24) + "...";
    if (digits && error == std::errc::result_out_of_range) {
      RefuseLine("'" + word + "' is beyond 32 bits (-2147483648 to 2147483647)");
    }
    RefuseLine("'" + word + "' is not a whole number");
  }

  const std::string& path_;
  const std::string& text_;
  std::vector<Block> blocks_;
  int line_ = 1;
};

std::string Count(size_t count, const std::string& what) {
  return std::to_string(count) + " " + what + (count == 1 ? "" : "s");
}

// The side of a block, whose rows are all of the same length.
size_t SideOf(const std::string& path, const Block& block, KernelForm form) {
  const size_t rows = block.size(), columns = block[0].numbers.size();
  const std::string where = "line " + std::to_string(block[0].line) + ": ";
  for (const Row& row : block) {
    if (row.numbers.size() == columns) continue;
    Refuse(path, "line " + std::to_string(row.line) + ": row of " +
                     Count(row.numbers.size(), "number") + ", the first row has " +
                     std::to_string(columns));
  }
  const std::string found =
      where + "kernel of " + Count(rows, "row") + " with " + Count(columns, "number") + " each; ";
  if (form == KernelForm::Square && rows != columns) {
    Refuse(path,
           found + (rows == 1 || columns == 1 ? "one row or column needs --one-dimensional x or y"
                                              : "it must have as many rows as columns"));
  }
  if (form == KernelForm::Line && rows != 1 && columns != 1) {
    Refuse(path, found + "--one-dimensional needs one row or one column");
  }
  const size_t side = std::max(rows, columns);
  if (side % 2 == 0) Refuse(path, found + "the count must be odd, so that there is a centre");
  if (side > static_cast<size_t>(kLargestKernel)) {
    Refuse(path, found + "at most " + std::to_string(kLargestKernel) + " a side");
  }
  return side;
}

}  // namespace

int64_t SumOf(const std::vector<int32_t>& weights) {
  return std::accumulate(weights.begin(), weights.end(), int64_t{0});
}

Kernel ReadKernelFile(const std::string& path, KernelForm form) {
  const std::string text = ReadTextFile(path, "kernel", "rows of whole numbers");
  const std::vector<Block> blocks = Parser(path, text).Blocks();
  if (blocks.empty()) Refuse(path, "is empty; a kernel file is text, rows of whole numbers");
  if (blocks.size() != 1 && blocks.size() != 4) {
    Refuse(path, std::to_string(blocks.size()) +
                     " blocks with empty lines between them; must be 1, or 4 for alpha, red, green "
                     "and blue");
  }
  Kernel kernel;
  kernel.form = form;
  for (const Block& block : blocks) {
    const auto side = static_cast<int32_t>(SideOf(path, block, form));
    if (kernel.size != 0 && side != kernel.size) {
      Refuse(path, "line " + std::to_string(block[0].line) + ": kernel of size " +
                       std::to_string(side) + ", the first has " + std::to_string(kernel.size));
    }
    kernel.size = side;
    std::vector<int32_t>& weights = kernel.weights.emplace_back();
    for (const Row& row : block) {
      weights.insert(weights.end(), row.numbers.begin(), row.numbers.end());
    }
  }
  return kernel;
}

Kernel MakeGaussianKernel(double radius, int32_t flags, double multiplier) {
  Kernel kernel;
  const bool line = (flags & VX_Kernel_OneDimensional) != 0;
  kernel.form = line ? KernelForm::Line : KernelForm::Square;
  kernel.weights.emplace_back(static_cast<size_t>(VX_GaussianKernelSize(radius, flags)));
  Check(
      VX_GaussianKernel(nullptr, radius, flags, multiplier, &kernel.size, kernel.weights[0].data()),
      "kernel");
  return kernel;
}

std::string KernelText(const Kernel& kernel) {
  size_t width = 1;
  for (const auto& block : kernel.weights) {
    for (int32_t weight : block) width = std::max(width, std::to_string(weight).size());
  }
  std::string text;
  for (const auto& block : kernel.weights) {
    if (!text.empty()) text += "\n";
    for (size_t i = 0; i < block.size(); ++i) {
      const std::string number = std::to_string(block[i]);
      const bool last = (i + 1) % static_cast<size_t>(kernel.size) == 0;
      text += std::string(width - number.size(), ' ') + number + (last ? "\n" : " ");
    }
  }
  return text;
}

}  // namespace vxcli
