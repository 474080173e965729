#include "imgconverter/ImgConverter.h"

#include "dstl/dshowx/DSTrace.h"

#if defined(__x86_64__) || defined(__i386__)
#include <cpuid.h>
#endif

namespace
{

/// A feature bit of CPUID leaf 1 and the code that it stands for; the first bit that is set wins.
struct FeatureCode
{
    bool bEcx;
    int nBit;
    int nCode;
};

constexpr FeatureCode arrFeatures[] = {
    {true, 20, 0x45},  // SSE4.2
    {true, 19, 0x44},  // SSE4.1
    {true, 9, 0x43},   // SSSE3
    {true, 0, 0x42},   // SSE3
    {false, 26, 0x41}, // SSE2
    {false, 25, 0x40}, // SSE
};

int DetectProcessor() noexcept
{
#if defined(__x86_64__) || defined(__i386__)
    unsigned nEax = 0;
    unsigned nEbx = 0;
    unsigned nEcx = 0;
    unsigned nEdx = 0;
    if (__get_cpuid(1, &nEax, &nEbx, &nEcx, &nEdx))
        return ProcessorCode(nEcx, nEdx);
#endif
    return 0;
}

} // namespace

int ProcessorCode(DWORD dwEcx, DWORD dwEdx) noexcept
{
    for (const FeatureCode& feature : arrFeatures)
    {
        if (((feature.bEcx ? dwEcx : dwEdx) >> feature.nBit) & 1)
            return feature.nCode;
    }
    return 0;
}

int Img_InitConverter(int nUse) noexcept
{
    const int nDetected = DetectProcessor();
    trace(atlTraceGeneral, eTL_Error, L"[CPU Type] (Img_InitConverter) IPP Detect:%d, Use:%d\n", nDetected,
          nUse);
    return nDetected;
}
