// SPDX-License-Identifier: Apache-2.0
#include <lcms2.h>

#include <memory>
#include <stdexcept>

#include "bench/peers/colour_tables.h"

namespace quorvel::bench {
namespace {

cmsInt32Number sample(const cmsUInt16Number in[], cmsUInt16Number out[], void* move) {
  std::array<double, 3> colour{};
  for (std::size_t c = 0; c < 3; ++c) colour[c] = in[c] / 65535.0;
  colour = (*static_cast<const ColourMove*>(move))(colour);
  for (std::size_t c = 0; c < 3; ++c) out[c] = static_cast<cmsUInt16Number>(colour[c] * 65535 + 0.5);
  return 1;
}

}  // namespace

ConvertPixels lcmsDeviceLink(unsigned levels, const ColourMove& move) {
  cmsHPROFILE link = cmsCreateProfilePlaceholder(nullptr);
  cmsSetProfileVersion(link, 4.3);
  cmsSetDeviceClass(link, cmsSigLinkClass);
  cmsSetColorSpace(link, cmsSigRgbData);
  cmsSetPCS(link, cmsSigRgbData);
  cmsPipeline* pipeline = cmsPipelineAlloc(nullptr, 3, 3);
  cmsStage* table = cmsStageAllocCLut16bit(nullptr, levels, 3, 3, nullptr);
  cmsStageSampleCLut16bit(table, sample, const_cast<ColourMove*>(&move), 0);
  cmsPipelineInsertStage(pipeline, cmsAT_END, table);
  cmsWriteTag(link, cmsSigAToB0Tag, pipeline);
  cmsPipelineFree(pipeline);
  const cmsHTRANSFORM transform =
      cmsCreateTransform(link, TYPE_RGB_8, nullptr, TYPE_RGB_8, INTENT_PERCEPTUAL, cmsFLAGS_NOCACHE);
  cmsCloseProfile(link);
  if (transform == nullptr) throw std::runtime_error("Little CMS made no transform of its own table");
  return [kept = std::shared_ptr<void>(transform, cmsDeleteTransform)](const std::uint8_t* src, std::uint8_t* dst,
                                                                       unsigned width, unsigned height) {
    cmsDoTransform(kept.get(), src, dst, width * height);
  };
}

}  // namespace quorvel::bench
