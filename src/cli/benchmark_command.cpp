// SPDX-License-Identifier: GPL-3.0-or-later
#include <algorithm>

#include "audio/device_benchmark.h"
#include "cli/commands.h"
#include "cli/safe_text.h"
#include "cli/session.h"
#include "core/configuration.h"
#include "device/opencl.h"

namespace quill::cli {

int RunBenchmark(const Arguments& arguments) {
  CSession session;
  if (!session.Open(arguments)) return kExitFailed;
  const CConfiguration& configuration = CConfiguration::Instance();
  COpenCL device;
  std::vector<std::string> names;
  if (!device.GetDevices(&names) || names.empty()) {
    Complain("there is no compute device: no OpenCL driver is installed, or none finds its device");
    return kExitFailed;
  }
  const std::string name = arguments.device.empty()
                               ? configuration.GetString("valueOpenCLDevice", {})
                               : arguments.device;
  std::string list;
  for (const std::string& known : names) list += TerminalText(known) + "\n";
  if (name.empty()) return Print(list) ? kExitDone : kExitFailed;
  if (std::find(names.begin(), names.end(), name) == names.end()) {
    Complain("there is no compute device \"" + TerminalText(name) + "\"; these are there:");
    (void)Print(list);
    return kExitFailed;
  }
  const int32_t workSize = configuration.GetInteger("valueOpenCLWorkSize", 64);
  const DeviceBenchmark result =
      RunDeviceBenchmark(device, name, static_cast<uint64_t>(std::max(workSize, 0)));
  if (result.outcome != DeviceBenchmark::Outcome::kSuccessful) {
    Complain(result.text + "; the log tells more");
    return kExitFailed;
  }
  return Print(result.text + "\n") ? kExitDone : kExitFailed;
}

}  // namespace quill::cli
