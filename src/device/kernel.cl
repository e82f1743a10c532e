// SPDX-License-Identifier: GPL-3.0-or-later
// The precise score's sweeps for a block of files: each candidate against the target, both ways.
// One group serves one row, whatever its number of items. docs/device.md tells how this lies on the
// hardware.
//
// Values of series are taken about 128, the middle of a byte. Products of two such values summed
// over a pattern of 300 stay below 2^24, so that floats hold every partial sum exactly, in whatever
// order an optimiser puts them, and covariance and variance, times 300 squared, fit 31 bits as
// integers. Nothing is lost where a series is nearly flat, and a flat one matches nothing at all.
#define MIDDLE 128

// Arrays of the local memory; the host's numbers are not above these.
#define LONGEST_PATTERN 300
// Offsets that one item computes at a time, and pattern values between two loads. An odd TILE keeps
// the items of a team on different banks of the local memory.
#define TILE 11
#define STEP 12
#define TILED_OFFSETS 341  // 31 tiles
#define SERIES_ROOM 640    // the last tile reads up to the end of this
// Items that have a tile each, with one that has none: a warp of most hardware, half of one of the
// rest. Further teams of a group share the pattern with the first.
#define TEAM 32
#define MOST_TEAMS 4

// Sums and sums of squares are begun by this many items at most.
#define MOST_PARTS 32
#define LEAST_VARIANCE 1e-6f

// Writes the series of a row out of `values`, and the mean and the inverse deviation of each of its
// stretches of `pattern` values.
void PrepareRow(size_t row, int length, int pattern, __global float* series,
                __global float* means, __global float* deviations, __local const float* values,
                __local int* sums, __local int* squares) {
  const int item = get_local_id(0);
  const int items = get_local_size(0);
  const int parts = min(items, MOST_PARTS);
  const int offsets = length - pattern + 1;
  barrier(CLK_LOCAL_MEM_FENCE);

  series += row * length;
  for (int i = item; i < length; i += items) series[i] = values[i];

  // The first stretch.
  if (item < parts) {
    int sum = 0, square = 0;
    for (int i = item; i < pattern; i += parts) {
      const int x = (int)values[i] - MIDDLE;
      sum += x;
      square += x * x;
    }
    sums[item] = sum;
    squares[item] = square;
  }
  barrier(CLK_LOCAL_MEM_FENCE);
  int firstSum = 0, firstSquare = 0;
  for (int part = 0; part < parts; ++part) {
    firstSum += sums[part];
    firstSquare += squares[part];
  }
  barrier(CLK_LOCAL_MEM_FENCE);

  // Each further stretch differs from the one before by a value that leaves and one that enters.
  // Every part adds up the differences of a run of stretches, then those of the runs before it.
  const int run = (offsets + parts - 1) / parts;
  const int begin = min(item * run, offsets);
  const int end = item < parts ? min(begin + run, offsets) : begin;
  int sum = 0, square = 0;
  for (int k = begin; k < end; ++k) {
    if (k > 0) {
      const int in = (int)values[k + pattern - 1] - MIDDLE;
      const int out = (int)values[k - 1] - MIDDLE;
      sum += in - out;
      square += (in - out) * (in + out);
    }
    sums[k] = sum;
    squares[k] = square;
  }
  barrier(CLK_LOCAL_MEM_FENCE);
  sum = firstSum;
  square = firstSquare;
  for (int k = run - 1; k < begin; k += run) {
    sum += sums[k];
    square += squares[k];
  }
  barrier(CLK_LOCAL_MEM_FENCE);
  for (int k = begin; k < end; ++k) {
    sums[k] += sum;
    squares[k] += square;
  }
  barrier(CLK_LOCAL_MEM_FENCE);

  means += row * offsets;
  deviations += row * offsets;
  for (int k = item; k < offsets; k += items) {
    const float variance =
        (float)(pattern * squares[k] - sums[k] * sums[k]) / (float)(pattern * pattern);
    means[k] = (float)(sums[k] + MIDDLE * pattern) / (float)pattern;
    deviations[k] = rsqrt(fmax(variance, LEAST_VARIANCE));
  }
}

// The sum that a mean of byte values was made of, about the middle. Exact: a float holds the mean
// to a hundredth of what one value can change.
int SumOfMean(float mean, int pattern) {
  return convert_int_rte(mean * (float)pattern) - MIDDLE * pattern;
}

// The curve of one band in one direction: group (file * bands + band) * 2 + direction. Direction 0
// searches the middle of the target in the candidate, direction 1 the other way round. Values
// behind the last offset are 0, and so is all when either is shorter than a pattern.
__kernel void Correlate(__global const float* candidateSeries, __global const float* targetSeries,
                        int bands, int length, int pattern, __global const uint* lengths,
                        uint targetLength, __global const float* candidateMeans,
                        __global const float* candidateDeviations,
                        __global const float* targetMeans, __global const float* targetDeviations,
                        __global float* correlations) {
  __local float series[SERIES_ROOM];
  __local float middle[LONGEST_PATTERN] __attribute__((aligned(16)));
  __local float dots[MOST_TEAMS * TILED_OFFSETS];

  const int item = get_local_id(0);
  const int items = get_local_size(0);
  const size_t group = get_group_id(0);
  const size_t candidateRow = group / 2;
  const size_t targetRow = candidateRow % bands;
  const bool targetIsSeries = group % 2 == 1;
  const int room = length - pattern + 1;
  correlations += group * room;

  const int candidateValues = min(lengths[candidateRow / bands], (uint)length);
  const int targetValues = min(targetLength, (uint)length);
  const int seriesValues = targetIsSeries ? targetValues : candidateValues;
  const int patternValues = targetIsSeries ? candidateValues : targetValues;
  if (min(seriesValues, patternValues) < pattern) {
    for (int k = item; k < room; k += items) correlations[k] = 0;
    return;
  }

  const size_t seriesRow = targetIsSeries ? targetRow : candidateRow;
  const size_t patternRow = targetIsSeries ? candidateRow : targetRow;
  __global const float* from =
      (targetIsSeries ? targetSeries : candidateSeries) + seriesRow * length;
  for (int i = item; i < SERIES_ROOM; i += items) series[i] = i < length ? from[i] - MIDDLE : 0;
  const int start = (patternValues - pattern) / 2;
  from = (targetIsSeries ? candidateSeries : targetSeries) + patternRow * length + start;
  for (int i = item; i < pattern; i += items) middle[i] = from[i] - MIDDLE;
  barrier(CLK_LOCAL_MEM_FENCE);

  const int offsets = seriesValues - pattern + 1;
  const int teams = clamp(items / TEAM, 1, MOST_TEAMS);
  const int team = item / TEAM;
  const int end = team < teams ? offsets : 0;
  for (int tile = item % TEAM * TILE; tile < end; tile += min(items, TEAM) * TILE) {
    float dot[TILE];
#pragma unroll
    for (int t = 0; t < TILE; ++t) dot[t] = 0;
    for (int i = team * STEP; i < pattern; i += teams * STEP) {
      float window[TILE + STEP - 1];
#pragma unroll
      for (int w = 0; w < TILE + STEP - 1; ++w) window[w] = series[tile + i + w];
      // Four at a time: all items read the same.
      float x[STEP];
#pragma unroll
      for (int s = 0; s < STEP; s += 4)
        vstore4(*(__local const float4*)(middle + i + s), 0, x + s);
#pragma unroll
      for (int s = 0; s < STEP; ++s) {
#pragma unroll
        for (int t = 0; t < TILE; ++t) dot[t] = mad(x[s], window[s + t], dot[t]);
      }
    }
#pragma unroll
    for (int t = 0; t < TILE; ++t) dots[team * TILED_OFFSETS + tile + t] = dot[t];
  }
  barrier(CLK_LOCAL_MEM_FENCE);

  const size_t place = patternRow * room + start;
  const int patternSum =
      SumOfMean((targetIsSeries ? candidateMeans : targetMeans)[place], pattern);
  const float scale = (targetIsSeries ? candidateDeviations : targetDeviations)[place] /
                      (float)(pattern * pattern);
  __global const float* means = (targetIsSeries ? targetMeans : candidateMeans) + seriesRow * room;
  __global const float* deviations =
      (targetIsSeries ? targetDeviations : candidateDeviations) + seriesRow * room;
  for (int k = item; k < offsets; k += items) {
    float dot = 0;
    for (int part = 0; part < teams; ++part) dot += dots[part * TILED_OFFSETS + k];
    const int covariance =
        pattern * convert_int_rte(dot) - patternSum * SumOfMean(means[k], pattern);
    const float pearson = (float)covariance * deviations[k] * scale;
    correlations[k] = clamp(pearson, 0.0f, 1.0f);
  }
  for (int k = offsets + item; k < room; k += items) correlations[k] = 0;
}

// The greatest of the items' values, for all of them. `slots` holds one value an item.
float GroupMax(float value, __local float* slots) {
  const int item = get_local_id(0);
  slots[item] = value;
  barrier(CLK_LOCAL_MEM_FENCE);
  for (int left = get_local_size(0); left > 1;) {
    const int middle = (left + 1) / 2;
    if (item + middle < left) slots[item] = fmax(slots[item], slots[item + middle]);
    left = middle;
    barrier(CLK_LOCAL_MEM_FENCE);
  }
  const float greatest = slots[0];
  barrier(CLK_LOCAL_MEM_FENCE);
  return greatest;
}

// (M, S) of one sweep, group file * 2 + direction: the mean of the bands' own peaks, and the peak
// of the band-averaged curve. The results hold the pairs of all sweeps of direction 0 first.
__kernel void Results(__global const float* correlations, int bands, int offsets,
                      __global float* results, __local float* curve, __local float* slots) {
  const int item = get_local_id(0);
  const int items = get_local_size(0);
  const size_t group = get_group_id(0);
  const size_t files = get_num_groups(0) / 2;
  const size_t file = group / 2;
  const size_t direction = group % 2;

  // Every item has its own places of the curve.
  for (int k = item; k < offsets; k += items) curve[k] = 0;
  float peaks = 0;
  for (int band = 0; band < bands; ++band) {
    __global const float* row = correlations + ((file * bands + band) * 2 + direction) * offsets;
    float peak = 0;
    for (int k = item; k < offsets; k += items) {
      const float value = row[k];
      curve[k] += value;
      peak = fmax(peak, value);
    }
    peaks += GroupMax(peak, slots);
  }
  float highest = 0;
  for (int k = item; k < offsets; k += items) highest = fmax(highest, curve[k]);
  highest = GroupMax(highest, slots);
  if (item == 0) {
    __global float* result = results + 2 * (direction * files + file);
    result[0] = peaks / (float)bands;
    result[1] = highest / (float)bands;
  }
}
