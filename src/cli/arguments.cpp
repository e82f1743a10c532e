// SPDX-License-Identifier: GPL-3.0-or-later
#include "cli/arguments.h"

#include <algorithm>
#include <charconv>
#include <filesystem>
#include <iterator>
#include <optional>

#include "core/defaults.h"
#include "results/export.h"

namespace quill::cli {

namespace {

constexpr uint32_t kMostThreads = 32;
constexpr uint32_t kMostGroup = 4;
constexpr const char* kResultsExtension = ".quillmarsh";

enum class Kind { kTruth, kNumber, kText };

// What a setting takes. The engines' own keys are not all registered as defaults.
std::optional<Kind> KindOfSetting(const std::string& key) {
  if (key == "enableAudioDuration") return Kind::kTruth;
  if (key == "valueAudioDuration") return Kind::kNumber;
  if (key == "valueOpenCLDevice") return Kind::kText;
  // What an automark goes by, but for its lists.
  for (const char* table : {"audioAutomark", "imageAutomark"}) {
    for (const char* score : {"Tags", "Content", "Precise", "Experimental"}) {
      if (key == std::string(table) + "Enable" + score) return Kind::kTruth;
      if (key == std::string(table) + "Value" + score) return Kind::kNumber;
    }
  }
  for (const CSettingDefaults* group :
       {&DefaultsGeneral(), &DefaultsMiscellaneous(), &DefaultsOpenCl()}) {
    const auto entry = group->find(key);
    if (entry == group->end()) continue;
    return std::holds_alternative<bool>(entry->second) ? Kind::kTruth : Kind::kNumber;
  }
  return std::nullopt;
}

// `text` and the user's word in double quotes.
std::string Quoted(std::string text, const std::string& word) {
  text += '"';
  text += word;
  text += '"';
  return text;
}

bool ParseNumber(const std::string& text, uint32_t most, uint32_t* number) {
  const char* end = text.data() + text.size();
  const auto [rest, fault] = std::from_chars(text.data(), end, *number);
  return fault == std::errc() && rest == end && *number <= most;
}

bool ParseSetting(const std::string& word, Arguments* arguments, std::string* error) {
  const size_t equals = word.find('=');
  if (equals == std::string::npos || equals == 0) {
    *error = Quoted("--set takes KEY=VALUE, not ", word);
    return false;
  }
  const std::string key = word.substr(0, equals);
  std::string value = word.substr(equals + 1);
  const std::optional<Kind> kind = KindOfSetting(key);
  if (!kind) {
    *error = Quoted("there is no setting ", key);
    return false;
  }
  if (*kind == Kind::kTruth) {
    if (value == "true" || value == "on" || value == "yes") value = "1";
    if (value == "false" || value == "off" || value == "no") value = "0";
    if (value != "0" && value != "1") {
      *error = Quoted("the setting ", key) + Quoted(" takes 0 or 1, not ", value);
      return false;
    }
  } else if (*kind == Kind::kNumber) {
    double number = 0;
    const char* end = value.data() + value.size();
    const auto [rest, fault] = std::from_chars(value.data(), end, number);
    if (fault != std::errc() || rest != end || !(number >= 0)) {
      *error = Quoted("the setting ", key) + Quoted(" takes a number from 0 up, not ", value);
      return false;
    }
  }
  arguments->settings.emplace_back(key, value);
  return true;
}

// Absolute and without "." and trailing slashes, but with links left as the user wrote them.
std::string AbsolutePath(const std::string& path) {
  std::error_code fault;
  std::filesystem::path absolute = std::filesystem::absolute(path, fault);
  if (fault) return path;
  absolute = absolute.lexically_normal();
  if (!absolute.has_filename() && absolute.has_parent_path() && absolute != absolute.root_path())
    absolute = absolute.parent_path();
  return absolute.string();
}

bool CheckWords(const Arguments& arguments, std::string* error) {
  const std::vector<std::string>& words = arguments.words;
  const bool scans = arguments.command == Command::kScan || arguments.command == Command::kResume;
  if (arguments.json && !scans && arguments.command != Command::kShow)
    *error = "--json goes with scan, resume and show";
  if (!arguments.saveFile.empty() && !scans) *error = "--save goes with scan and resume";
  if (!arguments.saveFile.empty() && !arguments.saveFile.ends_with(kResultsExtension))
    *error = Quoted("--save takes a name that ends in .quillmarsh, not ", arguments.saveFile);
  if (arguments.analyse && arguments.command != Command::kScan) *error = "--analyse goes with scan";
  if (!arguments.exportFile.empty()) {
    if (!scans) *error = "--export goes with scan and resume";
    const std::optional<ExportKind> kind = ExportKindOf(arguments.exportFile);
    if (!kind)
      *error = Quoted("--export takes a name that ends in .csv, .html or .m3u, not ",
                      arguments.exportFile);
    else if (kind == ExportKind::kM3u && arguments.analyse)
      *error = "a .m3u list is made of duplicates: --analyse exports to .csv and .html";
  }
  if (arguments.command != Command::kMark) {
    if (arguments.trash || !arguments.moveFolder.empty() || arguments.yes)
      *error = "--trash, --move and --yes go with mark";
  } else if (arguments.trash && !arguments.moveFolder.empty()) {
    *error = "mark takes --trash or --move, not both";
  } else if (arguments.yes && !arguments.trash && arguments.moveFolder.empty()) {
    *error = "--yes goes with --trash or --move";
  }
  if (!arguments.device.empty() && arguments.command != Command::kBenchmark)
    *error = "--device goes with benchmark";
  switch (arguments.command) {
    case Command::kScan:
      if (arguments.folders.empty()) *error = "scan needs a folder";
      break;
    case Command::kResume:
      if (!words.empty()) *error = "resume takes no folder: it goes on with the last scan";
      break;
    case Command::kShow:
      if (words.size() != 1) *error = "show needs one results file";
      break;
    case Command::kMark:
      if (words.size() != 1) *error = "mark needs one results file";
      break;
    case Command::kProbe:
      if (words.empty()) *error = "probe needs a file";
      break;
    case Command::kCache:
      if (words.size() != 1 || (words[0] != "stats" && words[0] != "clear"))
        *error = "cache takes \"stats\" or \"clear\"";
      break;
    case Command::kIgnore: {
      const bool list = words.size() == 1 && (words[0] == "list" || words[0] == "clear");
      const bool add = (words.size() == 2 || words.size() == 3) && words[0] == "add";
      if (!list && !add) *error = "ignore takes \"list\", \"add FILE [FILE]\" or \"clear\"";
      break;
    }
    case Command::kBenchmark:
      if (!words.empty()) *error = Quoted("benchmark takes --device NAME, not ", words[0]);
      break;
    case Command::kHelp:
    case Command::kVersion:
      break;
  }
  return error->empty();
}

}  // namespace

bool ParseArguments(const std::vector<std::string>& words, Arguments* arguments,
                    std::string* error) {
  *arguments = {};
  error->clear();
  bool haveCommand = false;
  bool optionsEnded = false;
  uint32_t group = 0;

  for (size_t i = 0; i < words.size(); ++i) {
    const std::string& word = words[i];
    if (optionsEnded || word.size() < 2 || word[0] != '-') {
      if (haveCommand) {
        if (arguments->command == Command::kScan)
          arguments->folders.push_back({AbsolutePath(word), static_cast<uint8_t>(group)});
        else
          arguments->words.push_back(word);
        continue;
      }
      static const std::pair<const char*, Command> kCommands[] = {
          {"scan", Command::kScan},     {"resume", Command::kResume},
          {"show", Command::kShow},     {"mark", Command::kMark},
          {"probe", Command::kProbe},   {"cache", Command::kCache},
          {"ignore", Command::kIgnore}, {"benchmark", Command::kBenchmark},
          {"help", Command::kHelp},     {"version", Command::kVersion}};
      for (const auto& [name, command] : kCommands) {
        if (word != name) continue;
        arguments->command = command;
        haveCommand = true;
      }
      if (haveCommand) continue;
      *error = Quoted("there is no command ", word);
      return false;
    }
    if (word == "--") {
      optionsEnded = true;
      continue;
    }
    if (word == "--help" || word == "-h") {
      arguments->command = Command::kHelp;
      return true;
    }
    if (word == "--version") {
      arguments->command = Command::kVersion;
      return true;
    }
    static const std::pair<const char*, bool Arguments::*> kSwitches[] = {
        {"--json", &Arguments::json},
        {"--analyse", &Arguments::analyse},
        {"--trash", &Arguments::trash},
        {"--yes", &Arguments::yes}};
    const auto* const flag = std::find_if(std::begin(kSwitches), std::end(kSwitches),
                                          [&](const auto& entry) { return word == entry.first; });
    if (flag != std::end(kSwitches)) {
      arguments->*flag->second = true;
      continue;
    }
    static constexpr const char* kOptions[] = {"--data-dir", "--set",  "--threads", "--group",
                                               "--save",     "--move", "--export",  "--device"};
    if (std::none_of(std::begin(kOptions), std::end(kOptions),
                     [&](const char* option) { return word == option; })) {
      *error = Quoted("there is no option ", word);
      return false;
    }
    if (++i == words.size()) {
      *error = word + " needs a value";
      return false;
    }
    const std::string& value = words[i];
    if (word == "--data-dir") {
      if (value.empty()) {
        *error = "--data-dir needs a folder";
        return false;
      }
      arguments->dataDir = AbsolutePath(value);
    } else if (word == "--save") {
      arguments->saveFile = AbsolutePath(value);
    } else if (word == "--export") {
      arguments->exportFile = AbsolutePath(value);
    } else if (word == "--device") {
      if (value.empty()) {
        *error = "--device needs a name";
        return false;
      }
      arguments->device = value;
    } else if (word == "--move") {
      if (value.empty()) {
        *error = "--move needs a folder";
        return false;
      }
      arguments->moveFolder = AbsolutePath(value);
    } else if (word == "--set") {
      if (!ParseSetting(value, arguments, error)) return false;
    } else if (word == "--threads") {
      if (!ParseNumber(value, kMostThreads, &arguments->threads)) {
        *error = "--threads takes a number from 0 (one per processor) to 32";
        return false;
      }
    } else if (!ParseNumber(value, kMostGroup, &group)) {
      *error = "--group takes a number from 0 (no group) to 4";
      return false;
    }
  }
  if (!haveCommand && !words.empty()) {
    *error = "a command is missing";
    return false;
  }
  if (arguments->command == Command::kIgnore) {
    for (size_t i = 1; i < arguments->words.size(); ++i)
      arguments->words[i] = AbsolutePath(arguments->words[i]);
  }
  return CheckWords(*arguments, error);
}

const char* UsageText() {
  return R"(Finds duplicate and near-duplicate audio and image files in the folders you choose, and rates the
quality of audio files.

quillmarsh-cli [--data-dir DIR] [--set KEY=VALUE]... [--threads N] COMMAND

Commands
  scan [--group N] FOLDER... [--json] [--export FILE] [--save FILE.quillmarsh]
                      compare all files below the folders and print the pairs that are alike;
                      files of one group (1 to 4) are not compared with each other, and --group
                      holds for the folders behind it
  scan --analyse FOLDER... [--json] [--export FILE] [--save FILE.quillmarsh]
                      rate every audio file below the folders by its measured quality
  resume [--json] [--export FILE] [--save FILE.quillmarsh]
                      go on with what an interrupted scan left
  show FILE.quillmarsh [--json]
                      print a results file
  mark FILE.quillmarsh [--trash | --move DIR] [--yes]
                      list the worse file of each pair, one a line, by your automark settings; the
                      ratings count when the file holds an analysis of the same folders. --trash
                      and --move act on these files, after a question that --yes answers, and
                      take them out of the results file
  probe FILE...       what the decoder says of each file: format, duration, bitrate, tags,
                      size in pixels
  cache stats         how much is known from earlier scans
  cache clear         forget it
  ignore list         files and pairs that scans leave alone
  ignore add A [B]    leave the file A, or the pair A and B, alone
  ignore clear        empty that list
  benchmark [--device NAME]
                      test a compute device, by default the one of the setting valueOpenCLDevice,
                      and compare its speed with one processor core; with neither, list the
                      devices

Options
  --data-dir DIR      keep settings, cache, ignore list and logs in DIR
  --set KEY=VALUE     change a setting for this run, as in --set valueAudioTags=0.9
  --threads N         number of threads; 0 is one per processor
  --json              print one JSON object in place of a table
  --export FILE       write the pairs, or the ratings, to FILE.csv or FILE.html; FILE.m3u is a
                      list of the sound files that have duplicates. Pairs of pictures go to
                      FILE-images.csv when there are pairs of sound files too
  --save FILE         keep the results in a file for `show` and `mark`: these and those of the
                      last scan of the other kind, so that pairs and ratings come together
  --help, --version

Exit status: 0 done, 1 failed with a message, 2 wrong usage, 130 interrupted.
)";
}

}  // namespace quill::cli
