// Copyright (c) 2026 the VX authors.
// SPDX-License-Identifier: BSD-3-Clause

#include "host/COR.h"

const char* COR_QCE_StatusText(QCE_Status status) {
  switch (status) {
    case QCE_Ok: return "in order";
    case QCE_BadArgument: return "is missing or not allowed";
    case QCE_OutOfMemory: return "needs more memory than there is";
    case QCE_NotAvailable: return "needs a colour engine, and there is none";
    case QCE_CannotRead: return "cannot be read";
    case QCE_TooLarge: return "is larger than a profile may be";
    case QCE_Truncated: return "claims more bytes than it has";
    case QCE_Damaged: return "is not a profile, or a damaged one";
    case QCE_WrongClass: return "is a profile for something else than pictures";
    case QCE_WrongModel: return "is not a profile for RGB";
    case QCE_NoPrimaries: return "has no primaries and tone curves";
    case QCE_BadCurve: return "has a tone curve that is flat or falls";
    case QCE_UnknownName: return "is not the name of a built-in profile";
    case QCE_UnknownID: return "is a profile that the pool has never met";
  }
  return "fails for an unknown reason";
}

void QCE_Error(QCE_Status status) {
  if (status != QCE_Ok) throw int32_t{status};
}
