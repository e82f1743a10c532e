# SPDX-License-Identifier: GPL-3.0-or-later
# Writes the C++ source behind kernel_sources.h from kernel files, as a step of the build:
#   cmake -DOUTPUT=FILE.cpp "-DKERNELS=A.cl;B.cl" -P embed_kernels.cmake
set(rows "")
foreach(kernel IN LISTS KERNELS)
  get_filename_component(name "${kernel}" NAME_WE)
  file(READ "${kernel}" text)
  if(text STREQUAL "")
    message(FATAL_ERROR "${kernel} is empty")
  endif()
  string(APPEND rows "    {\"${name}\", R\"kernel(${text})kernel\"},\n")
endforeach()
file(WRITE "${OUTPUT}" "#include \"device/kernel_sources.h\"

namespace quill {

std::string_view KernelSource(std::string_view name) {
  static constexpr std::string_view kSources[][2] = {
${rows}  };
  for (const auto& source : kSources)
    if (source[0] == name) return source[1];
  return {};
}

}  // namespace quill
")
