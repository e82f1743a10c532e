// SPDX-License-Identifier: GPL-3.0-or-later
// Where the rows come from when the device has images: one image row is one file, one pixel is four
// bytes, and reads go through the texture cache.

// One group a row; in kernel.cl.
void PrepareRow(size_t row, int length, int pattern, __global float* series,
                __global float* means, __global float* deviations, __local const float* values,
                __local int* sums, __local int* squares);

__kernel void Precalculate(__read_only image2d_t data, int bands, int units, int length,
                           int pattern, __global float* series, __global float* means,
                           __global float* deviations, __local float* values, __local int* sums,
                           __local int* squares) {
  const int row = get_group_id(0);
  const int file = row / bands;
  const int first = row % bands * units;
  for (int unit = get_local_id(0); unit < units; unit += get_local_size(0))
    vstore4(convert_float4(read_imageui(data, (int2)(first + unit, file))), unit, values);
  PrepareRow(row, length, pattern, series, means, deviations, values, sums, squares);
}
