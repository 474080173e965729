// Inputs that the fuzz target of the image library starts from.
#include "Seeds.h"

#include "Common/Common.h"

#include <cstring>

int main(int argc, char** argv)
{
    const std::string folder = SeedFolder(argc, argv);
    const PicProps props = {FOURCC_I420, 16, 8, 0};
    unsigned char arrBytes[sizeof(props)];
    std::memcpy(arrBytes, &props, sizeof(props));
    WriteSeed(folder + "i420", arrBytes);
}
