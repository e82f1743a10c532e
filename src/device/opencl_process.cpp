// SPDX-License-Identifier: GPL-3.0-or-later
#include <algorithm>
#include <initializer_list>

#include "core/system_error.h"
#include "device/block_shape.h"
#include "device/opencl.h"

namespace quill {
namespace {

constexpr size_t kSeriesBytes = sizeof(float) * kRowBands * kRowLongest;
constexpr size_t kOffsetsBytes = sizeof(float) * kRowBands * kRowOffsets;
constexpr size_t kResultBytes = 4 * sizeof(float);
constexpr size_t kRowPixels = size_t{kRowBands} * kRowUnits;  // an image row, one file

}  // namespace

// The device memory of one job; released at the end of the scope.
class COpenCL::CBuffers {
 public:
  enum Place : size_t {
    kTargetData,
    kCandidateData,
    kTargetSeries,
    kTargetMeans,
    kTargetDeviations,
    kCandidateSeries,
    kCandidateMeans,
    kCandidateDeviations,
    kLengths,
    kCorrelations,
    kResultPairs,
    kPlaces
  };

  explicit CBuffers(const OpenCLFunctions& cl) : m_cl(cl) {}
  ~CBuffers() {
    for (const cl_mem memory : m_memory)
      if (memory != nullptr) m_cl.clReleaseMemObject(memory);
  }
  CBuffers(const CBuffers&) = delete;
  CBuffers& operator=(const CBuffers&) = delete;

  [[nodiscard]] const cl_mem& operator[](Place place) const { return m_memory[place]; }

  [[nodiscard]] bool Add(Place place, int32_t line, cl_mem memory, cl_int error) {
    m_memory[place] = memory;
    return (memory != nullptr && error == CL_SUCCESS) || CSystemError::Bool("Process", line, false);
  }

 private:
  const OpenCLFunctions& m_cl;
  std::array<cl_mem, kPlaces> m_memory{};
};

// Sets arguments and starts kernels; every call has a line of its own for its report.
class COpenCL::CLaunch {
 public:
  CLaunch(const OpenCLFunctions& cl, cl_command_queue queue, size_t groupSize)
      : m_cl(cl), m_queue(queue), m_groupSize(groupSize) {}

  struct Argument {
    template <class Value>
    Argument(const Value& value) : size(sizeof value), address(&value) {}  // NOLINT: by intent
    Argument(size_t bytes, std::nullptr_t) : size(bytes), address(nullptr) {}
    size_t size;
    const void* address;  // null for local memory
  };

  [[nodiscard]] bool Run(cl_kernel kernel, size_t groups, std::initializer_list<Argument> arguments,
                         int32_t line) const {
    cl_uint index = 0;
    for (const Argument& argument : arguments) {
      if (m_cl.clSetKernelArg(kernel, index++, argument.size, argument.address) != CL_SUCCESS)
        return CSystemError::Bool("Process", line, false);
      ++line;
    }
    const size_t items = groups * m_groupSize;
    return m_cl.clEnqueueNDRangeKernel(m_queue, kernel, 1, nullptr, &items, &m_groupSize, 0,
                                       nullptr, nullptr) == CL_SUCCESS ||
           CSystemError::Bool("Process", line, false);
  }

 private:
  const OpenCLFunctions& m_cl;
  const cl_command_queue m_queue;
  const size_t m_groupSize;
};

bool COpenCL::Process(const std::vector<uint8_t>& targetRows, uint32_t targetLength,
                      const std::vector<uint8_t>& candidateRows,
                      const std::vector<uint32_t>& lengths,
                      std::vector<float>* out) NO_THREAD_SAFETY_ANALYSIS {
  if (out == nullptr || targetRows.size() < kFileBytes || candidateRows.empty())
    return CSystemError::Bool("Process", 473, false);
  const size_t count = candidateRows.size() / kFileBytes;
  if (count == 0 || lengths.size() < count) return CSystemError::Bool("Process", 479, false);

  CBuffers buffers(m_cl);
  if (!CreateBuffers(targetRows, candidateRows, lengths, &buffers) ||
      !LaunchKernels(buffers, targetLength, count))
    return false;
  out->resize(4 * count);
  if (m_cl.clEnqueueReadBuffer(m_queue, buffers[CBuffers::kResultPairs], CL_TRUE, 0,
                               count * kResultBytes, out->data(), 0, nullptr,
                               nullptr) != CL_SUCCESS)
    return CSystemError::Bool("Process", 588, false);
  if (m_cl.clFinish(m_queue) != CL_SUCCESS) return CSystemError::Bool("Process", 590, false);
  return true;
}

bool COpenCL::CreateBuffers(const std::vector<uint8_t>& targetRows,
                            const std::vector<uint8_t>& candidateRows,
                            const std::vector<uint32_t>& lengths, CBuffers* buffers) const {
  using B = CBuffers;
  constexpr cl_mem_flags kInput = CL_MEM_READ_ONLY | CL_MEM_COPY_HOST_PTR;
  const size_t count = candidateRows.size() / kFileBytes;
  const cl_context context = m_context;
  cl_int error = CL_SUCCESS;
  const auto input = [&](B::Place place, int32_t line, size_t bytes, const void* data) {
    // The functions take the host's memory without const and copy from it.
    const cl_mem memory =
        m_cl.clCreateBuffer(context, kInput, bytes, const_cast<void*>(data), &error);
    return buffers->Add(place, line, memory, error);
  };
  const auto image = [&](B::Place place, int32_t line, size_t height, const void* data) {
    const cl_image_format format = {CL_RGBA, CL_UNSIGNED_INT8};
    const cl_mem memory = m_cl.clCreateImage2D(context, kInput, &format, kRowPixels, height, 0,
                                               const_cast<void*>(data), &error);
    return buffers->Add(place, line, memory, error);
  };
  const auto scratch = [&](B::Place place, int32_t line, size_t bytes) {
    const cl_mem memory = m_cl.clCreateBuffer(context, CL_MEM_READ_WRITE, bytes, nullptr, &error);
    return buffers->Add(place, line, memory, error);
  };
  const bool data =
      m_imageSupport
          ? image(B::kTargetData, 488, 1, targetRows.data()) &&
                image(B::kCandidateData, 490, count, candidateRows.data())
          : input(B::kTargetData, 495, targetRows.size(), targetRows.data()) &&
                input(B::kCandidateData, 497, candidateRows.size(), candidateRows.data());
  return data && scratch(B::kTargetSeries, 501, kSeriesBytes) &&
         scratch(B::kTargetMeans, 503, kOffsetsBytes) &&
         scratch(B::kTargetDeviations, 505, kOffsetsBytes) &&
         scratch(B::kCandidateSeries, 508, count * kSeriesBytes) &&
         scratch(B::kCandidateMeans, 510, count * kOffsetsBytes) &&
         scratch(B::kCandidateDeviations, 512, count * kOffsetsBytes) &&
         input(B::kLengths, 515, count * sizeof(uint32_t), lengths.data()) &&
         scratch(B::kCorrelations, 517, count * kOffsetsBytes * 2) &&
         scratch(B::kResultPairs, 519, count * kResultBytes);
}

bool COpenCL::LaunchKernels(const CBuffers& buffers, uint32_t targetLength, size_t count) const {
  using B = CBuffers;
  const size_t groupSize =
      static_cast<size_t>(std::max<uint64_t>(1, std::min(m_workSize, m_kernelLimit)));
  const CLaunch launch(m_cl, m_queue, groupSize);
  const cl_int bands = kRowBands, units = kRowUnits, length = kRowLongest, pattern = kRowPattern,
               offsets = kRowOffsets;
  const CLaunch::Argument values(sizeof(float) * kRowBytes, nullptr);
  const CLaunch::Argument sums(sizeof(float) * kRowOffsets, nullptr);
  const CLaunch::Argument slots(sizeof(float) * groupSize, nullptr);
  return launch.Run(
             m_kernels[kPrecalculate], size_t{kRowBands},
             {buffers[B::kTargetData], bands, units, length, pattern, buffers[B::kTargetSeries],
              buffers[B::kTargetMeans], buffers[B::kTargetDeviations], values, sums, sums},
             527) &&
         launch.Run(m_kernels[kPrecalculate], kRowBands * count,
                    {buffers[B::kCandidateData], bands, units, length, pattern,
                     buffers[B::kCandidateSeries], buffers[B::kCandidateMeans],
                     buffers[B::kCandidateDeviations], values, sums, sums},
                    539) &&
         launch.Run(m_kernels[kCorrelate], 2 * kRowBands * count,
                    {buffers[B::kCandidateSeries], buffers[B::kTargetSeries], bands, length,
                     pattern, buffers[B::kLengths], targetLength, buffers[B::kCandidateMeans],
                     buffers[B::kCandidateDeviations], buffers[B::kTargetMeans],
                     buffers[B::kTargetDeviations], buffers[B::kCorrelations]},
                    551) &&
         launch.Run(
             m_kernels[kResults], 2 * count,
             {buffers[B::kCorrelations], bands, offsets, buffers[B::kResultPairs], sums, slots},
             564);
}

}  // namespace quill
