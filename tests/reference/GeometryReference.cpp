#include "tests/reference/GeometryReference.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstring>

#include "dib/ColorTable.h"

namespace reference {

Image::Image(int w, int h, const Image& like) : width(w), height(h), depth(like.depth), table(like.table) {
    pixels.resize(std::size_t(rowBytes()) * std::size_t(rows()));
    // The header of a new size announces as many entries as the depth addresses.
    table.resize(depth <= 8 ? std::size_t{4} << depth : 0);
}

Image::Image(const DibStream& dib)
    : width(dib.Header->biWidth), height(dib.Header->biHeight), depth(dib.Header->biBitCount) {
    pixels.assign(dib.Buffer, dib.Buffer + std::size_t(rowBytes()) * std::size_t(rows()));
    const auto* entries = reinterpret_cast<const unsigned char*>(dib::colorTable(dib.Header));
    table.assign(entries, entries + 4 * dib::announcedEntries(*dib.Header));
}

std::uint32_t Image::get(int x, int bufferRow) const {
    std::uint32_t value = 0;
    for (int bit = 0; bit < depth; ++bit) {
        if (depth < 8) {
            const int at = x * depth + bit;
            value = value << 1 | (row(bufferRow)[at / 8] >> (7 - at % 8) & 1U);
        } else {
            const int at = x * depth + bit;
            value |= std::uint32_t(row(bufferRow)[at / 8] >> at % 8 & 1) << bit;
        }
    }
    return value;
}

void Image::set(int x, int bufferRow, std::uint32_t value) {
    for (int bit = 0; bit < depth; ++bit) {
        const int at = x * depth + bit;
        const int shift = depth < 8 ? 7 - at % 8 : at % 8;
        const std::uint32_t on = value >> (depth < 8 ? depth - 1 - bit : bit) & 1U;
        unsigned char& byte = row(bufferRow)[at / 8];
        byte = static_cast<unsigned char>((byte & ~(1U << shift)) | on << shift);
    }
}

bool Image::equals(const DibStream& dib) const {
    const BITMAPINFOHEADER& header = *dib.Header;
    const Image other(dib);
    return header.biSize == 40 && header.biPlanes == 1 && header.biCompression == 0 &&
           header.biWidth == width && header.biHeight == height && header.biBitCount == depth &&
           header.biSizeImage == std::uint32_t(rowBytes() * rows()) && other.pixels == pixels &&
           other.table == table;
}

namespace {

int signedLike(int height, int model) { return model > 0 ? std::abs(height) : -std::abs(height); }

struct Weight {
    int index;
    int w0;
    int w1;
};

std::vector<Weight> bilinearTable(int sourceSize, int size) {
    std::vector<Weight> table;
    const double step = size > 1 ? double(sourceSize - 1) / double(size - 1) : 0.0;
    double position = 0.0;
    for (int i = 0; i < size; ++i) {
        double index = 0.0;
        const double f = modf(position, &index);
        const int w1 = int((f * -2.0 + 3.0) * f * f * 256.0);
        table.push_back({int(index), 256 - w1, w1});
        position += step;
    }
    table.back() = {sourceSize - 2, 0, 256};
    return table;
}

struct Boundary {
    int index;
    int fraction;
};

std::vector<Boundary> areaTable(int sourceSize, int size) {
    std::vector<Boundary> table;
    for (int i = 0; i <= size; ++i) {
        const long long product = static_cast<long long>(i) * sourceSize;
        table.push_back({int(product / size), int(product % size * 256 / size)});
    }
    return table;
}

// The area average of values[a] to values[b] of one channel.
template <class Value>
unsigned char areaMean(Boundary a, Boundary b, const Value& value) {
    if (a.index == b.index) return value(a.index);
    long long sum = static_cast<long long>(value(a.index)) * (256 - a.fraction);
    long long weight = 256 - a.fraction;
    for (int k = a.index + 1; k < b.index; ++k) {
        sum += static_cast<long long>(value(k)) * 256;
        weight += 256;
    }
    if (b.fraction != 0) {
        sum += static_cast<long long>(value(b.index)) * b.fraction;
        weight += b.fraction;
    }
    return static_cast<unsigned char>(sum / weight);
}

}  // namespace

Result resize(const Image& image, int width, int height, int method) {
    if (width == image.width && height == image.rows()) return image;
    if (width * 2 == image.width && height * 2 == image.rows()) {
        if (const Result half = resizeHalf(image)) return half;
    }
    if (method == 1) return resizeIntegral(image, width, height);
    if (method == 0) return resizeBilinear(image, width, height);
    return {};
}

Result resizeHalf(const Image& image) {
    if (image.depth < 24 || image.width < 2 || image.rows() < 2) return {};
    Image half(image.width / 2, image.height / 2, image);
    const int channels = image.depth / 8;
    for (int j = 0; j < half.rows(); ++j) {
        for (int i = 0; i < half.width; ++i) {
            for (int c = 0; c < channels; ++c) {
                const auto at = [&](int x, int y) { return image.row(y)[x * channels + c]; };
                const int sum =
                    at(2 * i, 2 * j) + at(2 * i + 1, 2 * j) + at(2 * i, 2 * j + 1) + at(2 * i + 1, 2 * j + 1);
                half.row(j)[i * channels + c] = static_cast<unsigned char>(sum >> 2);
            }
        }
    }
    return half;
}

Result resizeBilinear(const Image& image, int width, int height) {
    if (width < 1 || height == 0) return {};
    Image out(width, signedLike(height, image.height), image);
    const auto columns = bilinearTable(image.width, width);
    const auto lines = bilinearTable(image.rows(), out.rows());
    const int channels = image.depth / 8;
    for (int j = 0; j < out.rows(); ++j) {
        for (int i = 0; i < width; ++i) {
            const Weight x = columns[std::size_t(i)];
            const Weight y = lines[std::size_t(j)];
            if (image.depth < 24) {
                out.set(i, j,
                        image.get(x.w0 < 128 ? x.index + 1 : x.index, y.w0 < 128 ? y.index + 1 : y.index));
                continue;
            }
            for (int c = 0; c < channels; ++c) {
                // A tap outside the source has weight 0.
                const auto at = [&](int column, int line) -> unsigned {
                    const bool inside =
                        column >= 0 && column < image.width && line >= 0 && line < image.rows();
                    return inside ? image.row(line)[column * channels + c] : 0U;
                };
                const auto w = [](int weight) { return static_cast<unsigned>(weight); };
                const unsigned low =
                    at(x.index + 1, y.index + 1) * w(x.w1) + at(x.index, y.index + 1) * w(x.w0);
                const unsigned high = at(x.index + 1, y.index) * w(x.w1) + at(x.index, y.index) * w(x.w0);
                out.row(j)[i * channels + c] =
                    static_cast<unsigned char>((low * w(y.w1) + high * w(y.w0)) >> 16);
            }
        }
    }
    return out;
}

Result resizeIntegral(const Image& image, int width, int height) {
    if (width < 1 || height == 0) return {};
    Image out(width, signedLike(height, image.height), image);
    if (image.depth < 24) return out;
    Image across(width, image.height, image);
    const int channels = image.depth / 8;
    const auto columns = areaTable(image.width, width);
    const auto lines = areaTable(image.rows(), out.rows());
    for (int c = 0; c < channels; ++c) {
        for (int j = 0; j < image.rows(); ++j) {
            for (int i = 0; i < width; ++i) {
                across.row(j)[i * channels + c] =
                    areaMean(columns[std::size_t(i)], columns[std::size_t(i) + 1],
                             [&](int k) { return image.row(j)[k * channels + c]; });
            }
        }
        for (int j = 0; j < out.rows(); ++j) {
            for (int i = 0; i < width; ++i) {
                out.row(j)[i * channels + c] =
                    areaMean(lines[std::size_t(j)], lines[std::size_t(j) + 1],
                             [&](int k) { return across.row(k)[i * channels + c]; });
            }
        }
    }
    return out;
}

Result changeSize(const Image& image, int width, int height, std::uint32_t fill) {
    if (width < 1 || height == 0) return {};
    Image out(width, signedLike(height, image.height), image);
    for (int j = 0; j < out.rows(); ++j) {
        for (int i = 0; i < width; ++i) {
            out.set(i, j, image.depth == 1 ? std::uint32_t{fill != 0} : fill);
        }
        // Up to 16 bits the fill bytes of the rows are filled too.
        for (int k = 2 * width; image.depth == 16 && k < out.rowBytes(); ++k) {
            out.row(j)[k] = static_cast<unsigned char>(k % 2 == 0 ? fill : fill >> 8);
        }
        const int used = (width * image.depth + 7) / 8;
        const std::uint32_t full = image.depth == 1   ? fill != 0 ? 255U : 0U
                                   : image.depth == 4 ? (fill & 15U) * 17U
                                                      : fill;
        for (int k = image.depth < 8 ? 0 : used; image.depth <= 8 && k < out.rowBytes(); ++k) {
            out.row(j)[k] = static_cast<unsigned char>(full);
        }
    }
    const int fromX = width < image.width ? (image.width - width) / 2 : 0;
    const int toX = width < image.width ? 0 : (width - image.width) / 2;
    const int fromY = out.rows() < image.rows() ? (image.rows() - out.rows()) / 2 : 0;
    const int toY = out.rows() < image.rows() ? 0 : (out.rows() - image.rows()) / 2;
    for (int j = 0; j < std::min(image.rows(), out.rows()); ++j) {
        for (int i = 0; i < std::min(image.width, width); ++i) {
            out.set(toX + i, toY + j, image.get(fromX + i, fromY + j));
        }
    }
    return out;
}

namespace {

// Bit `bit` of the pixel block as seen from the start of a picture row; 0 outside the block.
int blockBit(const Image& image, long long pictureRow, long long bit) {
    const long long bufferRow = image.height > 0 ? image.height - 1 - pictureRow : pictureRow;
    const long long at = bufferRow * image.rowBytes() * 8 + bit;
    if (at < 0 || at >= static_cast<long long>(image.pixels.size()) * 8) return 0;
    return image.pixels[std::size_t(at / 8)] >> (7 - at % 8) & 1;
}

Result clip(const Image& image, int x, int y, int width, int height, bool wholeBytes) {
    if (width < 1 || height < 1) return {};
    if (static_cast<long long>(x) + width > image.width) return {};
    if (static_cast<long long>(y) + height > image.rows()) return {};
    Image out(width, height, image);
    const int bits = image.depth >= 8 || wholeBytes ? out.rowBytes() * 8 : width * image.depth;
    for (int k = 0; k < height; ++k) {
        unsigned char* to = out.row(height - 1 - k);
        for (int bit = 0; bit < bits; ++bit) {
            const int on =
                blockBit(image, static_cast<long long>(y) + k, static_cast<long long>(x) * image.depth + bit);
            to[bit / 8] = static_cast<unsigned char>(to[bit / 8] | on << (7 - bit % 8));
        }
    }
    return out;
}

}  // namespace

Result clipCut(const Image& image, int x, int y, int width, int height) {
    return clip(image, x, y, width, height, false);
}

Result clipClone(const Image& image, int x, int y, int width, int height) {
    Result out = clip(image, x, y, width, height, image.depth == 4 && x % 2 == 0);
    if (!out) return out;
    // Entries that are not copied are those of a new image: greys, but none at 4 bits.
    const std::size_t last = out->table.size() / 4 - 1;
    for (std::size_t i = image.table.size(); i < out->table.size(); ++i) {
        const bool grey = image.depth != 4 && i % 4 != 3;
        out->table[i] = static_cast<unsigned char>(grey ? i / 4 * 255 / last : 0);
    }
    return out;
}

Result scroll(const Image& image, int dx, int dy) {
    const auto cyclic = [](long long value, int size) { return int((value % size + size) % size); };
    const int hx = cyclic(dx, image.width);
    const int hy = cyclic(image.height > 0 ? -static_cast<long long>(dy) : dy, image.rows());
    Image turned = image;
    for (int j = 0; hx >= 1 && j < image.rows(); ++j) {
        if (image.depth < 8) std::memset(turned.row(j), 0, std::size_t(image.rowBytes()));
        for (int i = 0; i < image.width; ++i) turned.set((i + hx) % image.width, j, image.get(i, j));
    }
    Image out = turned;
    for (int j = 0; j < image.rows(); ++j) {
        std::memcpy(out.row((j + hy) % image.rows()), turned.row(j), std::size_t(image.rowBytes()));
    }
    return out;
}

Result upDown(const Image& image, bool topDown) {
    if (topDown == (image.height < 0)) return image;
    Image out = image;
    out.height = -image.height;
    for (int j = 0; j < image.rows(); ++j) {
        std::memcpy(out.row(image.rows() - 1 - j), image.row(j), std::size_t(image.rowBytes()));
    }
    return out;
}

Result invertTone(const Image& image) {
    Image out = image;
    for (unsigned char& byte : out.pixels) byte = static_cast<unsigned char>(255 - byte);
    return out;
}

Result brighten(const Image& image, float factor) {
    if (!(factor >= 0)) return {};
    if (factor == 1) return image;
    if (image.depth == 16) return {};
    const auto change = [factor](unsigned char& v) {
        if (factor < 1) {
            const float scaled = float(v) * factor;
            v = static_cast<unsigned char>(double(scaled) + 0.5);
        } else {
            const float raised = float(255 - v) * (1 - 1 / factor);
            v = static_cast<unsigned char>(int(double(raised)) + v);
        }
    };
    Image out = image;
    std::vector<unsigned char>& bytes = image.depth <= 8 ? out.table : out.pixels;
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        if (image.depth == 24 || i % 4 != 3) change(bytes[i]);
    }
    return out;
}

}  // namespace reference
