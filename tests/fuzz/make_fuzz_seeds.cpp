// Writes the seed corpus of the fuzz targets into <dir>/<target>: matrices and vectors of
// assorted shapes and awkward values as their writers put them, label formats that are
// accepted, and text and binary streams for kivscope's decoders (a first byte choosing the
// decoder, see fuzz_streamdecoders.cpp).

#include "velo_matrix.h"

#include <cmath>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <limits>
#include <string>
#include <vector>

namespace fs = std::filesystem;

namespace {

bool save(const fs::path& path, const std::string& bytes)
{
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out.write(bytes.data(), std::streamsize(bytes.size()));
    return bool(out);
}

template <typename T>
bool saveBoth(const fs::path& dir, const std::string& name, const T& object)
{
    std::string text;
    object.writeToString(text);
    std::string binary(object.serialize(nullptr), '\0');
    object.serialize(&binary[0]);
    return save(dir / "velotext" / (name + ".txt"), text) && save(dir / "velobinary" / (name + ".bin"), binary);
}

} // namespace

int main(int argc, char** argv)
{
    if (argc != 2) {
        std::fprintf(stderr, "usage: make_fuzz_seeds <directory>\n");
        return 2;
    }
    const fs::path dir(argv[1]);
    for (const char* target : {"velotext", "velobinary", "valueformat", "streamdecoders"})
        fs::create_directories(dir / target);

    const double inf = std::numeric_limits<double>::infinity();
    const std::vector<double> values = {0.1 + 0.2, -0.0, 1.0 / 3.0, std::nan(""), inf, -inf,
                                        std::numeric_limits<double>::denorm_min(),
                                        std::numeric_limits<double>::max(), 1e-300, 123456789.0, -7.0, 2.5};
    const struct { VoSize rows, cols; } shapes[] = {{0, 0}, {1, 1}, {2, 3}, {3, 2}, {1, 12}, {12, 1}, {20, 0}, {0, 20}};
    bool ok = true;
    for (const auto& s : shapes) {
        const velo::Matrix m(s.rows, s.cols, values.data());
        ok = ok && saveBoth(dir, "matrix-" + std::to_string(s.rows) + "x" + std::to_string(s.cols), m);
    }
    for (VoSize n : {VoSize(0), VoSize(1), VoSize(3), VoSize(12)})
        ok = ok && saveBoth(dir, "vector-" + std::to_string(n), velo::Vector(n, values.data()));

    const char* formats[] = {"%f", "%.2f", "%+08.3f mV", "%%%g%%", "%lf", "%-100.100E", "%e", "%a", "t = %10.4G s"};
    int i = 0;
    for (const char* format : formats)
        ok = ok && save(dir / "valueformat" / ("format-" + std::to_string(i++)), format);
    const std::string streams[] = {
        std::string(1, '\0') + "time;ch 1;ch 2\n0.5;1e3;nan\n1,2,3\n4\t5\t-6\n\n7 8 9\r\nx;;1\n",
        std::string(1, '\0') + "1,2\n3,4\n5,6,7\n8",
        std::string(1, char(1 + (0 << 3))) + std::string("\x01\x00\xff\x7f\x00\x80\x05", 7),
        std::string(1, char(3 + (2 << 3))) + std::string("\x00\x00\x80\x3f\x00\x00\xc0\x7f\x00\x00\x80\xff", 12),
        std::string(1, char(4 + (1 << 3))) + std::string(reinterpret_cast<const char*>(values.data()), 8 * 6),
    };
    i = 0;
    for (const std::string& stream : streams)
        ok = ok && save(dir / "streamdecoders" / ("stream-" + std::to_string(i++)), stream);
    if (!ok)
        std::fprintf(stderr, "make_fuzz_seeds: cannot write into %s\n", argv[1]);
    return ok ? 0 : 1;
}
