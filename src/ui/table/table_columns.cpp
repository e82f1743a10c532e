// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/table/table_columns.h"

namespace quill {

namespace {

using Kind = TableColumn::Kind;

constexpr TableColumn kFile{FieldId::kFile, "File", "Path of the file", Kind::kPath, 60, true};
constexpr TableColumn kPairs{FieldId::kPairs, "Pairs", "How many files this one matches",
                             Kind::kNumber,   7,       true};
constexpr TableColumn kFolder{FieldId::kFolder, "Folder", "Folder of the file",
                              Kind::kPath,      40,       false};
constexpr TableColumn kName{FieldId::kFilename, "Name", "Name of the file without its folder",
                            Kind::kPath,        35,     false};
constexpr TableColumn kArtist{FieldId::kArtist, "Artist", "Artist tag", Kind::kText, 22, false};
constexpr TableColumn kTitle{FieldId::kTitle, "Title", "Title tag", Kind::kText, 28, false};
constexpr TableColumn kAlbum{FieldId::kAlbum, "Album", "Album tag", Kind::kText, 25, false};
constexpr TableColumn kSize{FieldId::kSize, "Size", "Size of the file", Kind::kNumber, 11, true};
constexpr TableColumn kFormat{FieldId::kFormat, "Format", "Format by the content of the file",
                              Kind::kText,      14,       true};
constexpr TableColumn kGroup{
    FieldId::kGroup, "Group", "Group of the folder in which the file was found",
    Kind::kCentred,  8,       false};
constexpr TableColumn kDuration{
    FieldId::kDuration, "Duration", "Playing time in minutes and seconds", Kind::kNumber, 10, true};
constexpr TableColumn kBitrate{FieldId::kBitrate, "Bitrate", "Bits a second of sound",
                               Kind::kNumber,     13,        true};

// Measured quality: of the analysed files in both audio tables.
constexpr TableColumn Rating(bool shown) {
  return {FieldId::kRating, "Rating", "Overall quality by the measures of the analysis",
          Kind::kScore,     13,       shown};
}
constexpr TableColumn Measure(FieldId field, const char* title, const char* toolTip, int characters,
                              bool shown) {
  return {field, title, toolTip, Kind::kNumber, characters, shown};
}
constexpr TableColumn SampleRate(bool shown) {
  return Measure(FieldId::kSampleRate, "Sample rate", "Samples a second", 13, shown);
}
constexpr TableColumn Channels(bool shown) {
  return {FieldId::kChannels, "Channels", "Mono or stereo", Kind::kCentred, 10, shown};
}
constexpr TableColumn Clipping(bool shown) {
  return Measure(FieldId::kClipping, "Clipping", "Samples cut off at the peak", 10, shown);
}
constexpr TableColumn Silence(bool shown) {
  return Measure(FieldId::kSilence, "Silence", "Gaps of silence within the sound", 10, shown);
}
constexpr TableColumn AbsMean(bool shown) {
  return Measure(FieldId::kAbsMean, "Mean (abs.)", "How far the sound lies off its zero line", 13,
                 shown);
}
constexpr TableColumn MinStep(bool shown) {
  return Measure(FieldId::kMinStep, "Step",
                 "Smallest difference between neighbouring samples, and the depth it stands for",
                 19, shown);
}
constexpr TableColumn AbsMax(bool shown) {
  return Measure(FieldId::kAbsMax, "Max (abs.)", "Highest level", 12, shown);
}
constexpr TableColumn MaxFreq(bool shown) {
  return Measure(FieldId::kMaxFreq, "Max freq.", "Highest frequency of the sound in hertz", 11,
                 shown);
}
constexpr TableColumn Clicks(bool shown) {
  return Measure(FieldId::kClicks, "Clicks", "Short bursts far above their surroundings", 9, shown);
}

constexpr TableColumn Spectrum(bool shown) {
  return {FieldId::kSpectrogram,
          "Spectrum",
          "Levels from the lowest frequency at the left to the highest: average before maximum",
          Kind::kSpectrum,
          12,
          shown};
}

constexpr TableColumn Score(FieldId field, const char* title, const char* toolTip) {
  return {field, title, toolTip, Kind::kScore, 13, true};
}

constexpr TableColumn kAudioDups[] = {
    kFile,
    kFolder,
    kName,
    kPairs,
    Score(FieldId::kContent, "Content", "How alike the sound is over its first half minute"),
    Score(FieldId::kTags, "Tags", "How far title, artist, album and file name agree"),
    Score(FieldId::kPrecise, "Precise",
          "Whether a piece of one recording occurs in the other, at any offset"),
    kArtist,
    kTitle,
    kAlbum,
    kFormat,
    kDuration,
    kBitrate,
    kSize,
    kGroup,
    Rating(false),
    SampleRate(false),
    Channels(false),
    Clipping(false),
    Silence(false),
    AbsMean(false),
    MinStep(false),
    AbsMax(false),
    MaxFreq(false),
    Clicks(false),
    Spectrum(false),
};

constexpr TableColumn kImageDups[] = {
    kFile,
    kFolder,
    kName,
    kPairs,
    Score(FieldId::kContent, "Content", "How alike the pictures are, point by point"),
    Score(FieldId::kExperimental, "Experimental", "How alike their spatial frequencies are"),
    kFormat,
    {FieldId::kResolution, "Resolution", "Width and height in pixels", Kind::kNumber, 14, true},
    kSize,
    kGroup,
};

constexpr TableColumn kAudioAnalysis[] = {
    kFile,          kFolder,          kName,          Rating(true),   kArtist,
    kTitle,         kAlbum,           kDuration,      kSize,          kFormat,
    kBitrate,       SampleRate(true), Channels(true), Clipping(true), Silence(true),
    AbsMean(false), MinStep(false),   AbsMax(false),  MaxFreq(true),  Clicks(true),
    Spectrum(true),
};

}  // namespace

std::span<const TableColumn> AudioDupsColumns() {
  return kAudioDups;
}

std::span<const TableColumn> ImageDupsColumns() {
  return kImageDups;
}

std::span<const TableColumn> AudioAnalysisColumns() {
  return kAudioAnalysis;
}

}  // namespace quill
