#include "Commands.h"
#include "Failure.h"
#include "OutputFile.h"
#include "TgaWriter.h"
#include <cstdio>
#include <filesystem>

void RunChart(const ChartOptions& options)
{
    TgaOptions tga;
    tga.alpha = options.bits == 32;
    tga.runLength = options.runLength;
    tga.topOrigin = options.topOrigin;
    const std::vector<uint8_t> file = EncodeTga(DrawChart(options.width, options.height, tga.alpha), tga);

    const std::filesystem::path path(FromUtf8(options.out));
    std::error_code ignored; // the file's own failure says what is wrong
    std::filesystem::create_directories(path.parent_path(), ignored);
    const HRESULT hr = WriteWholeFile(path.wstring(), file.data(), file.size());
    if (FAILED(hr))
        throw Failure("cannot write \"" + options.out + "\"", hr);
    std::printf("chart       %s, %d x %d, %d bits%s\n", options.out.c_str(), options.width, options.height,
                options.bits, options.runLength ? ", run-length encoded" : "");
}
