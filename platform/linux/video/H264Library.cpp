#include "platform/linux/video/H264Library.h"

#include <x264.h>

#include <algorithm>
#include <new>

namespace quorvin {

namespace {

constexpr int longestSidePx = 16'384;
// Blocks of 16 x 16 pixels that a frame of the highest level may have (ITU-T H.264, table A-1).
constexpr int mostBlocks = 139'264;
constexpr std::size_t lengthBytes = 4;

// Indices and values in a sequence parameter set (ITU-T H.264, 7.3.2.1.1 and A.2).
constexpr std::size_t profileIndex = 1;
constexpr std::size_t constraintsIndex = 2;
constexpr std::uint8_t mainProfile = 77;
constexpr std::uint8_t obeysMainProfile = 0x40;

int blocksIn(int px) {
  return (px + 15) / 16;
}

x264_param_t parametersFor(PixelSize size, int expectedRate) {
  x264_param_t parameters;
  // The other presets and arithmetic coding save a sixth of the bytes and take two to four times
  // as long on a screen's contents.
  x264_param_default_preset(&parameters, "ultrafast", "zerolatency");
  parameters.i_log_level = X264_LOG_NONE;
  parameters.i_width = size.width;
  parameters.i_height = size.height;
  parameters.i_csp = X264_CSP_NV12;
  parameters.i_fps_num = static_cast<std::uint32_t>(expectedRate);
  parameters.i_fps_den = 1;
  parameters.b_vfr_input = 0;
  parameters.i_threads = 1;
  parameters.b_sliced_threads = 0;
  parameters.i_keyint_max = 1;
  parameters.b_repeat_headers = 0;
  parameters.b_annexb = 0;
  parameters.b_aud = 0;
  // The QP is given with each frame. Of the library's methods only this one works out none of its
  // own, which would take a tenth of the time. It clamps to the QPs of I and B frames, so the
  // ratios move those as far apart as they go: 20 steps to either side.
  parameters.rc.i_rc_method = X264_RC_CQP;
  parameters.rc.i_qp_constant = 31;
  parameters.rc.f_ip_factor = 10;
  parameters.rc.f_pb_factor = 10;
  // ITU-T H.264, E.2.1: each number stands for BT.709; chroma lies in the middle.
  parameters.vui.b_fullrange = 0;
  parameters.vui.i_colorprim = 1;
  parameters.vui.i_transfer = 1;
  parameters.vui.i_colmatrix = 1;
  parameters.vui.i_chroma_loc = 1;
  return parameters;
}

std::vector<std::uint8_t> unitOf(const x264_nal_t& nal) {
  const std::span<const std::uint8_t> all(nal.p_payload, static_cast<std::size_t>(nal.i_payload));
  const auto unit = all.subspan(std::min(lengthBytes, all.size()));
  return {unit.begin(), unit.end()};
}

}  // namespace

bool H264Library::isEncodable(PixelSize size) {
  const auto isSide = [](int px) {
    return px >= 1 && px <= longestSidePx;
  };
  return isSide(size.width) && isSide(size.height) &&
         blocksIn(size.width) * blocksIn(size.height) <= mostBlocks;
}

void H264Library::Close::operator()(x264_t* opened) const {
  x264_encoder_close(opened);
}

H264Library::H264Library(PixelSize size, int expectedRate) {
  auto parameters = parametersFor(size, expectedRate);
  encoder.reset(x264_encoder_open(&parameters));
  if (!encoder) throw std::bad_alloc();
  readParameterSets();
}

void H264Library::readParameterSets() {
  x264_nal_t* nals = nullptr;
  int count = 0;
  if (x264_encoder_headers(encoder.get(), &nals, &count) < 0) throw std::bad_alloc();
  for (const auto& nal : std::span(nals, static_cast<std::size_t>(count))) {
    if (nal.i_type == NAL_SPS) sequenceSet = unitOf(nal);
    if (nal.i_type == NAL_PPS) pictureSet = unitOf(nal);
  }
  if (sequenceSet.size() <= constraintsIndex || pictureSet.empty()) throw std::bad_alloc();
  // Without arithmetic coding the library calls the stream one of the Constrained Baseline
  // profile, each of which is one of the Main profile too (ITU-T H.264, A.2.2).
  sequenceSet[profileIndex] = mainProfile;
  sequenceSet[constraintsIndex] = obeysMainProfile;
}

std::span<const std::uint8_t> H264Library::encode(const YuvFrame& frame, int qp) {
  x264_picture_t input;
  x264_picture_init(&input);
  input.img.i_csp = X264_CSP_NV12;
  input.img.i_plane = 2;
  // The library does not write to them.
  input.img.plane[0] = const_cast<std::uint8_t*>(frame.lumas());
  input.img.plane[1] = const_cast<std::uint8_t*>(frame.chromas());
  input.img.i_stride[0] = static_cast<int>(frame.strideBytes());
  input.img.i_stride[1] = static_cast<int>(frame.strideBytes());
  input.i_type = X264_TYPE_IDR;
  input.i_qpplus1 = std::clamp(qp, qpMin, qpMax) + 1;
  input.i_pts = frames++;
  x264_picture_t output;
  x264_nal_t* nals = nullptr;
  int count = 0;
  const int size = x264_encoder_encode(encoder.get(), &nals, &count, &input, &output);
  if (size <= 0 || count <= 0) return {};
  // The library puts the units of a frame one after the other.
  return {nals[0].p_payload, static_cast<std::size_t>(size)};
}

}  // namespace quorvin
