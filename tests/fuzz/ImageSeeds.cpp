// Inputs that the fuzz target of the image library starts from: settings of a few calls each.
#include "Seeds.h"
#include "image/ImageCalls.h"

#include <string>

int main(int argc, char** argv)
{
    constexpr unsigned nSeeds = 256;
    constexpr size_t cbSeed = 160;
    const std::string folder = SeedFolder(argc, argv);
    for (unsigned nSeed = 0; nSeed < nSeeds; nSeed++)
    {
        SeedNumbers numbers(nSeed);
        BYTE arrBytes[cbSeed];
        for (BYTE& byte : arrBytes)
            byte = numbers.Byte();
        // Each entry point begins some of them.
        arrBytes[0] = static_cast<BYTE>(nSeed % ImageCalls::nEntries);
        WriteSeed(folder + "calls" + std::to_string(nSeed), arrBytes);
    }
}
