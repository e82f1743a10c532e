// SPDX-License-Identifier: GPL-3.0-or-later
// Where the rows come from when the device has no images: a plain buffer, read in units of four
// bytes by neighbouring items.

// One group a row; in kernel.cl.
void PrepareRow(size_t row, int length, int pattern, __global float* series,
                __global float* means, __global float* deviations, __local const float* values,
                __local int* sums, __local int* squares);

__kernel void Precalculate(__global const uchar* data, int bands, int units, int length,
                           int pattern, __global float* series, __global float* means,
                           __global float* deviations, __local float* values, __local int* sums,
                           __local int* squares) {
  const size_t row = get_group_id(0);
  for (int unit = get_local_id(0); unit < units; unit += get_local_size(0))
    vstore4(convert_float4(vload4(row * units + unit, data)), unit, values);
  PrepareRow(row, length, pattern, series, means, deviations, values, sums, squares);
}
