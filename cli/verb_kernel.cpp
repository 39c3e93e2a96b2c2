// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause
// Kernel files, and vx kernel, which prints the weights of a Gaussian as a kernel file.

#include <algorithm>
#include <charconv>
#include <iostream>
#include <memory>
#include <nlohmann/json.hpp>
#include <numeric>
#include <sstream>

#include "Console.h"
#include "Kernel.h"
#include "VXIO/VXIO_Picture.h"
#include "Verbs.h"

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

// Reads the numbers of a kernel file. Throws VXIO_Error (Input) with the number of the line.
class Parser {
 public:
  explicit Parser(const std::string& path) : path_(path) {}

  std::vector<Block> Blocks(const std::string& text) {
    std::vector<Block> blocks;
    bool new_block = true;
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line); ++line_) {
      const size_t comment = line.find('#');
      Row row{line_, NumbersOf(line.substr(0, comment))};
      if (!row.numbers.empty()) {
        if (new_block) blocks.emplace_back();
        blocks.back().push_back(std::move(row));
        new_block = false;
      } else if (comment == std::string::npos) {
        new_block = true;
      }
    }
    return blocks;
  }

 private:
  [[noreturn]] void RefuseLine(const std::string& text) const {
    Refuse(path_, "line " + std::to_string(line_) + ": " + text);
  }

  std::vector<int32_t> NumbersOf(const std::string& line) const {
    static constexpr const char* kBlanks = " \t\v\f\r";
    std::vector<int32_t> numbers;
    bool after_number = false;  // a comma may follow
    for (size_t at = line.find_first_not_of(kBlanks); at < line.size();
         at = line.find_first_not_of(kBlanks, at)) {
      size_t end = at + 1;
      if (line[at] == ',') {
        if (!after_number) RefuseLine("a comma without a number before it");
        after_number = false;
      } else {
        end = std::min(line.find_first_of(" \t\v\f\r,", at), line.size());
        numbers.push_back(NumberOf(line.substr(at, end - at)));
        after_number = true;
      }
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
      RefuseLine("'" + word + "' does not fit in 32 bits (-2147483648 to 2147483647)");
    }
    RefuseLine("'" + word + "' is not a whole number");
  }

  const std::string& path_;
  int line_ = 1;
};

std::string Count(size_t count, const std::string& what) {
  return std::to_string(count) + " " + what + (count == 1 ? "" : "s");
}

// Checks the rows of a block and returns the side of the kernel. Throws VXIO_Error (Input).
size_t SideOf(const std::string& path, const Block& block, bool one_dimensional) {
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
  if (!one_dimensional && rows != columns) {
    Refuse(path,
           found + (rows == 1 || columns == 1 ? "one row or column needs --one-dimensional x or y"
                                              : "it must have as many rows as columns"));
  }
  if (one_dimensional && rows != 1 && columns != 1) {
    Refuse(path, found + "--one-dimensional needs one row or one column");
  }
  const size_t side = std::max(rows, columns);
  if (side % 2 == 0) Refuse(path, found + "the count must be odd, so that there is a centre");
  if (side > static_cast<size_t>(kLargestKernel)) {
    Refuse(path, found + "at most " + std::to_string(kLargestKernel) + " per side");
  }
  return side;
}

}  // namespace

int64_t SumOfWeights(const vx::Kernel& kernel) {
  return std::accumulate(kernel.weights.begin(), kernel.weights.end(), int64_t{0});
}

Kernels ReadKernelFile(const std::string& path, bool one_dimensional) {
  const std::string text = ReadTextFile(path, "kernel", "rows of whole numbers");
  const std::vector<Block> blocks = Parser(path).Blocks(text);
  if (blocks.empty()) Refuse(path, "is empty; a kernel file is text, rows of whole numbers");
  if (blocks.size() != 1 && blocks.size() != 4) {
    Refuse(path, std::to_string(blocks.size()) +
                     " blocks with empty lines between them; must be 1, or 4 for alpha, red, green "
                     "and blue");
  }
  Kernels kernels;
  for (const Block& block : blocks) {
    const auto side = static_cast<int32_t>(SideOf(path, block, one_dimensional));
    if (!kernels.empty() && side != kernels[0].diameter) {
      Refuse(path, "line " + std::to_string(block[0].line) + ": kernel of size " +
                       std::to_string(side) + ", the first has " +
                       std::to_string(kernels[0].diameter));
    }
    vx::Kernel& kernel = kernels.emplace_back();
    kernel.diameter = side;
    kernel.one_dimensional = one_dimensional;
    for (const Row& row : block) {
      kernel.weights.insert(kernel.weights.end(), row.numbers.begin(), row.numbers.end());
    }
  }
  return kernels;
}

std::string KernelText(const Kernels& kernels) {
  size_t width = 1;
  for (const vx::Kernel& kernel : kernels) {
    for (int32_t weight : kernel.weights) width = std::max(width, std::to_string(weight).size());
  }
  std::string text;
  for (const vx::Kernel& kernel : kernels) {
    if (!text.empty()) text += "\n";
    for (size_t i = 0; i < kernel.weights.size(); ++i) {
      const std::string number = std::to_string(kernel.weights[i]);
      const bool last = (i + 1) % static_cast<size_t>(kernel.diameter) == 0;
      text += std::string(width - number.size(), ' ') + number + (last ? "\n" : " ");
    }
  }
  return text;
}

// --- the verb ------------------------------------------------------------------------------------

namespace {

struct KernelOptions {
  double gaussian = 0, multiplier = 1;
  bool one_dimensional = false, normalize = false, json = false;
};

nlohmann::ordered_json Rows(const vx::Kernel& kernel) {
  nlohmann::ordered_json rows = nlohmann::ordered_json::array();
  const std::vector<int32_t>& weights = kernel.weights;
  for (auto row = weights.begin(); row != weights.end(); row += kernel.diameter) {
    rows.push_back(std::vector<int32_t>(row, row + kernel.diameter));
  }
  return rows;
}

int Run(const KernelOptions& options) {
  const vx::Kernel kernel = WithContext("kernel", [&] {
    return vx::gaussian_kernel(options.gaussian,
                               {options.one_dimensional, options.normalize, options.multiplier});
  });
  const int64_t sum = SumOfWeights(kernel);
  if (options.json) {
    PrintJson({{"radius", options.gaussian},
               {"multiplier", options.multiplier},
               {"one_dimensional", options.one_dimensional},
               {"normalize", options.normalize},
               {"diameter", kernel.diameter},
               {"sum", sum},
               {"weights", Rows(kernel)}});
  } else {
    const std::string side = std::to_string(kernel.diameter);
    std::cout << "# Gaussian of radius " << Plain(options.gaussian) << ": "
              << (options.one_dimensional ? side : side + " x " + side) << " weights of sum " << sum
              << "; for vx convolve" << (options.one_dimensional ? " --one-dimensional x or y" : "")
              << " --normalize\n"
              << KernelText({kernel});
  }
  return kDone;
}

}  // namespace

Verb KernelVerb() {
  auto to = std::make_shared<KernelOptions>();
  OptionList options = {
      Option{"--gaussian", "R", Number(&to->gaussian, 0, kLargestKernelRadius),
             "Radius in pixels, %r; each side of the kernel has 2R + 1 weights, R rounded up"}
          .Required(),
      {"--one-dimensional", "", Flag(&to->one_dimensional), "One row instead of a square"},
      {"--normalize", "", Flag(&to->normalize),
       "Scale the weights so that they sum to about 255 times their number"},
      Option{"--multiplier", "M", Number(&to->multiplier, 0, 1e300),
             "Factor for the weights, %r, before they are limited to 255"}
          .Default("1"),
      {"--json", "", Flag(&to->json), "Print JSON"}};
  return {"kernel", "Print the weights of a Gaussian", std::move(options),
          "The output is a kernel file for vx convolve.\n"
          "Example:\n  vx kernel --gaussian 2.5 > soft.txt",
          [to](const Verb&) { return Run(*to); }};
}

}  // namespace vxcli
