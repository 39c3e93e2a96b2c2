# Copyright (c) 2026 the VX authors.
# SPDX-License-Identifier: BSD-3-Clause
