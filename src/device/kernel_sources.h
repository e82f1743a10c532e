// SPDX-License-Identifier: GPL-3.0-or-later
// The sources of the device's kernels. They are files of this folder for their readers, and part of
// the program for its user: the build turns every .cl file into a text constant and stops when one
// is not there, so that none can be missing, cut or changed at run time.
#pragma once

#include <string_view>

namespace quill {

// "kernel" for kernel.cl; a null view for a name that there is no file of.
[[nodiscard]] std::string_view KernelSource(std::string_view name);

}  // namespace quill
