// SPDX-License-Identifier: GPL-3.0-or-later
// What the cells of the tables, and the fields of exported files, say. Pure functions, no locale.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "audio/analysis_info.h"
#include "results/field_id.h"

namespace quill {

// With a point before the decimals. For values within the range of a float.
[[nodiscard]] std::string FixedText(double value, int decimals);
// "0.54 KB" below 100000 bytes, "0.10 MB" from there on, "0.10 GB" from 100000000 on.
[[nodiscard]] std::string SizeText(uint64_t bytes);
// "n/a" for 0, then bare bits, "128.00 Kbit" from 1000 on, "2.00 Mbit" from 2000000 on.
[[nodiscard]] std::string BitrateText(uint32_t bitsPerSecond);
// "3:05" in minutes and seconds; "0.250" below one second.
[[nodiscard]] std::string DurationText(uint32_t durationMs);
// "44 100"; empty for 0.
[[nodiscard]] std::string GroupedText(uint32_t value);
[[nodiscard]] const char* ChannelsText(uint8_t channels);
// 6 significant digits, no trailing zeros: clipping, silence and clicks.
[[nodiscard]] std::string CountText(float value);
// Fixed, 6 decimals: absmean and absmax.
[[nodiscard]] std::string LevelText(float value);
// As LevelText, with a rough depth behind it: "0.000031 (16 bit)"; below 0.000001 in scientific
// notation and with nothing behind it.
[[nodiscard]] std::string MinStepText(float value);
// "19 876"
[[nodiscard]] std::string FrequencyText(float hertz);

// The text of an analysis column, by the functions above; "-" for a null record in the columns that
// say so, and empty for a column that has no text of its own (kRating, kSpectrogram).
[[nodiscard]] std::string AnalysisText(FieldId column, const AnalysisInfo* info);
// Whether the value is so bad that the cell says it in red.
[[nodiscard]] bool IsBadValue(FieldId column, const AnalysisInfo& info);

}  // namespace quill
