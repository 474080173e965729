// Calls of the image library out of random bytes.
#include "imgconverter/ImgConverter.h"

#include <cstddef>
#include <cstdint>
#include <cstring>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* pb, size_t cb)
{
    PicProps props;
    if (cb < sizeof(props))
        return 0;
    std::memcpy(&props, pb, sizeof(props));
    Img_CheckProps(&props, false);
    return 0;
}
