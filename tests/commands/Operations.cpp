// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

#include "Operations.h"

#include <cstring>

#include "host/VXHost.h"

std::vector<Operation> AllOperations() {
  std::vector<Operation> all;
  for (const auto& part : {WorldOperations(), RowOperations(), UnoOperations(), SlotOperations()}) {
    all.insert(all.end(), part.begin(), part.end());
  }
  return all;
}

VX_Err Execute(Command& command, const Runner& runner, bool keeps_on_refusal) {
  VX_Err code = VX_Ok;
  try {
    code = runner(command);
  } catch (int32_t thrown) {
    code = thrown;
  }
  command.Finish(code, keeps_on_refusal);
  if (command.must_be_refused && code == VX_Ok) command.Fail("accepted an invalid world");
  const bool reported = !VXHost_TakeReports().empty();
  // Methods only throw.
  const bool is_method = std::strncmp(command.operation(), "VX_World::", 10) == 0;
  if (code == VX_ErrBadParameter && !reported && !is_method)
    command.Fail("a refusal without a report");
  command.Gave("reported", reported, false);
  return code;
}

std::string Check(const Operation& operation, uint64_t seed, uint32_t number, uint64_t* digest) {
  Command command(operation.name.c_str(), seed, number);
  const VX_Err code = Execute(command, operation.run, operation.keeps_on_refusal);
  if (digest != nullptr) AddToDigest(command.parts(), digest);
  std::string wrong = command.fault();
  const bool has_twin = operation.twin != nullptr && code == VX_Ok;
  if (wrong.empty() && has_twin && (operation.needs & ~command.traits) == 0) {
    Command again(operation.name.c_str(), seed, number);
    again.aligns_rows = true;
    const VX_Err twin_code = Execute(again, operation.twin, operation.keeps_on_refusal);
    if (twin_code != kNoTwin) {
      wrong = Difference(command.parts(), again.parts(), operation.tolerance, true);
    }
  }
  return wrong.empty() ? "" : wrong + "\n" + command.log();
}
