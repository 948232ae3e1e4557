// SPDX-License-Identifier: GPL-3.0-or-later
#include "Pictures.h"

#include <algorithm>
#include <cmath>
#include <numbers>

// Baseline JPEG, three components without subsampling, with the example tables of ITU-T T.81, Annex
// K (the luminance tables serve all three components).
namespace quillbox::simulator {
namespace {

using wire::Bytes;

constexpr std::array<std::uint8_t, 64> kZigZag{
    0,  1,  8,  16, 9,  2,  3,  10, 17, 24, 32, 25, 18, 11, 4,  5,  12, 19, 26, 33, 40, 48,
    41, 34, 27, 20, 13, 6,  7,  14, 21, 28, 35, 42, 49, 56, 57, 50, 43, 36, 29, 22, 15, 23,
    30, 37, 44, 51, 58, 59, 52, 45, 38, 31, 39, 46, 53, 60, 61, 54, 47, 55, 62, 63};

constexpr std::array<std::uint8_t, 64> kQuantization{
    16, 11, 10, 16, 24,  40,  51,  61,  12, 12, 14, 19, 26,  58,  60,  55,
    14, 13, 16, 24, 40,  57,  69,  56,  14, 17, 22, 29, 51,  87,  80,  62,
    18, 22, 37, 56, 68,  109, 103, 77,  24, 35, 55, 64, 81,  104, 113, 92,
    49, 64, 78, 87, 103, 121, 120, 101, 72, 92, 95, 98, 112, 100, 103, 99};

constexpr std::array<std::uint8_t, 16> kDcCounts{0, 1, 5, 1, 1, 1, 1, 1, 1, 0, 0, 0, 0, 0, 0, 0};
constexpr std::array<std::uint8_t, 12> kDcValues{0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11};
constexpr std::array<std::uint8_t, 16> kAcCounts{0, 2, 1, 3, 3, 2, 4, 3, 5, 5, 4, 4, 0, 0, 1, 125};
constexpr std::array<std::uint8_t, 162> kAcValues{
    0x01, 0x02, 0x03, 0x00, 0x04, 0x11, 0x05, 0x12, 0x21, 0x31, 0x41, 0x06, 0x13, 0x51, 0x61,
    0x07, 0x22, 0x71, 0x14, 0x32, 0x81, 0x91, 0xA1, 0x08, 0x23, 0x42, 0xB1, 0xC1, 0x15, 0x52,
    0xD1, 0xF0, 0x24, 0x33, 0x62, 0x72, 0x82, 0x09, 0x0A, 0x16, 0x17, 0x18, 0x19, 0x1A, 0x25,
    0x26, 0x27, 0x28, 0x29, 0x2A, 0x34, 0x35, 0x36, 0x37, 0x38, 0x39, 0x3A, 0x43, 0x44, 0x45,
    0x46, 0x47, 0x48, 0x49, 0x4A, 0x53, 0x54, 0x55, 0x56, 0x57, 0x58, 0x59, 0x5A, 0x63, 0x64,
    0x65, 0x66, 0x67, 0x68, 0x69, 0x6A, 0x73, 0x74, 0x75, 0x76, 0x77, 0x78, 0x79, 0x7A, 0x83,
    0x84, 0x85, 0x86, 0x87, 0x88, 0x89, 0x8A, 0x92, 0x93, 0x94, 0x95, 0x96, 0x97, 0x98, 0x99,
    0x9A, 0xA2, 0xA3, 0xA4, 0xA5, 0xA6, 0xA7, 0xA8, 0xA9, 0xAA, 0xB2, 0xB3, 0xB4, 0xB5, 0xB6,
    0xB7, 0xB8, 0xB9, 0xBA, 0xC2, 0xC3, 0xC4, 0xC5, 0xC6, 0xC7, 0xC8, 0xC9, 0xCA, 0xD2, 0xD3,
    0xD4, 0xD5, 0xD6, 0xD7, 0xD8, 0xD9, 0xDA, 0xE1, 0xE2, 0xE3, 0xE4, 0xE5, 0xE6, 0xE7, 0xE8,
    0xE9, 0xEA, 0xF1, 0xF2, 0xF3, 0xF4, 0xF5, 0xF6, 0xF7, 0xF8, 0xF9, 0xFA};

struct Code {
    std::uint16_t bits = 0;
    std::uint8_t length = 0;
};

using Codes = std::array<Code, 256>;
using Block = std::array<double, 64>;

Codes makeCodes(std::span<const std::uint8_t> counts, std::span<const std::uint8_t> values) {
    Codes codes{};
    std::uint16_t next = 0;
    std::size_t value = 0;
    for (std::size_t length = 1; length <= counts.size(); ++length) {
        for (int i = 0; i < counts[length - 1]; ++i) {
            codes[values[value++]] = {next++, static_cast<std::uint8_t>(length)};
        }
        next = static_cast<std::uint16_t>(next << 1U);
    }
    return codes;
}

/// Entropy-coded bits; a byte of ones is followed by a zero byte.
class BitWriter {
public:
    explicit BitWriter(Bytes& bytes) : bytes_{bytes} {}

    void put(unsigned bits, unsigned length) {
        for (unsigned i = length; i > 0; --i) {
            current_ = (current_ << 1U) | ((bits >> (i - 1)) & 1U);
            if (++filled_ == 8) {
                bytes_.push_back(static_cast<std::byte>(current_));
                if (current_ == 0xFFU) {
                    bytes_.push_back(std::byte{0});
                }
                current_ = 0;
                filled_ = 0;
            }
        }
    }

    void finish() {
        while (filled_ != 0) {
            put(1, 1);
        }
    }

private:
    Bytes& bytes_;
    unsigned current_ = 0;
    unsigned filled_ = 0;
};

/// A number's size class and the bits that tell it within the class.
struct Magnitude {
    unsigned size = 0;
    unsigned bits = 0;
};

Magnitude magnitude(int value) {
    Magnitude result;
    for (unsigned rest = static_cast<unsigned>(std::abs(value)); rest != 0; rest >>= 1U) {
        ++result.size;
    }
    const unsigned all = (1U << result.size) - 1U;
    result.bits =
        value < 0 ? (static_cast<unsigned>(value - 1) & all) : static_cast<unsigned>(value);
    return result;
}

/// One row or column of eight, in place.
void transform(double* values, std::size_t stride) {
    static const std::array<std::array<double, 8>, 8> kCosines = [] {
        std::array<std::array<double, 8>, 8> table{};
        for (unsigned frequency = 0; frequency < 8; ++frequency) {
            for (unsigned x = 0; x < 8; ++x) {
                const double scale = frequency == 0 ? std::sqrt(0.125) : 0.5;
                table[frequency][x] =
                    scale * std::cos((2 * x + 1) * frequency * std::numbers::pi / 16);
            }
        }
        return table;
    }();
    std::array<double, 8> result{};
    for (std::size_t frequency = 0; frequency < 8; ++frequency) {
        for (std::size_t x = 0; x < 8; ++x) {
            result[frequency] += kCosines[frequency][x] * values[x * stride];
        }
    }
    for (std::size_t frequency = 0; frequency < 8; ++frequency) {
        values[frequency * stride] = result[frequency];
    }
}

/// A component of the eight by eight pixels at (left, top); pixels beyond the edge repeat it.
Block component(const Picture& picture, unsigned left, unsigned top, unsigned which) {
    constexpr std::array<std::array<double, 4>, 3> kWeights{{{0.299, 0.587, 0.114, -128},
                                                             {-0.168736, -0.331264, 0.5, 0},
                                                             {0.5, -0.418688, -0.081312, 0}}};
    const auto& weights = kWeights[which];
    Block block{};
    for (unsigned y = 0; y < 8; ++y) {
        for (unsigned x = 0; x < 8; ++x) {
            const auto pixel = picture.at(std::min(left + x, picture.width - 1),
                                          std::min(top + y, picture.height - 1));
            block[y * 8 + x] =
                weights[0] * pixel[0] + weights[1] * pixel[1] + weights[2] * pixel[2] + weights[3];
        }
    }
    return block;
}

class Encoder {
public:
    explicit Encoder(Bytes& file) : bits_{file} {}

    void put(Block block, int& previousDc) {
        for (std::size_t i = 0; i < 8; ++i) {
            transform(&block[i * 8], 1);
        }
        for (std::size_t i = 0; i < 8; ++i) {
            transform(&block[i], 8);
        }
        std::array<int, 64> values{};
        for (std::size_t i = 0; i < 64; ++i) {
            values[i] =
                static_cast<int>(std::lround(block[kZigZag[i]] / kQuantization[kZigZag[i]]));
        }
        const Magnitude dc = magnitude(values[0] - previousDc);
        previousDc = values[0];
        code(dc_[dc.size]);
        bits_.put(dc.bits, dc.size);
        unsigned zeros = 0;
        for (std::size_t i = 1; i < 64; ++i) {
            if (values[i] == 0) {
                ++zeros;
                continue;
            }
            for (; zeros > 15; zeros -= 16) {
                code(ac_[0xF0]);
            }
            const Magnitude ac = magnitude(values[i]);
            code(ac_[zeros * 16 + ac.size]);
            bits_.put(ac.bits, ac.size);
            zeros = 0;
        }
        if (zeros != 0) {
            code(ac_[0]);
        }
    }

    void finish() { bits_.finish(); }

private:
    void code(const Code& code) { bits_.put(code.bits, code.length); }

    BitWriter bits_;
    Codes dc_ = makeCodes(kDcCounts, kDcValues);
    Codes ac_ = makeCodes(kAcCounts, kAcValues);
};

void appendSegment(Bytes& file, unsigned marker, const Bytes& content) {
    file.push_back(std::byte{0xFF});
    file.push_back(static_cast<std::byte>(marker));
    const std::size_t length = content.size() + 2;
    file.push_back(static_cast<std::byte>(length >> 8U));
    file.push_back(static_cast<std::byte>(length & 0xFFU));
    wire::append(file, content);
}

Bytes bytesOf(std::initializer_list<unsigned> values) {
    Bytes bytes;
    for (const unsigned value : values) {
        bytes.push_back(static_cast<std::byte>(value));
    }
    return bytes;
}

Bytes huffmanTable(unsigned which, std::span<const std::uint8_t> counts,
                   std::span<const std::uint8_t> values) {
    Bytes table = bytesOf({which});
    wire::append(table, std::as_bytes(counts));
    wire::append(table, std::as_bytes(values));
    return table;
}

}  // namespace

Bytes encodeJpeg(const Picture& picture) {
    Bytes file = bytesOf({0xFF, 0xD8});
    appendSegment(file, 0xE0, bytesOf({'J', 'F', 'I', 'F', 0, 1, 1, 0, 0, 1, 0, 1, 0, 0}));
    Bytes quantization = bytesOf({0});
    for (const std::uint8_t index : kZigZag) {
        quantization.push_back(static_cast<std::byte>(kQuantization[index]));
    }
    appendSegment(file, 0xDB, quantization);
    appendSegment(file, 0xC0,
                  bytesOf({8, picture.height >> 8U, picture.height & 0xFFU, picture.width >> 8U,
                           picture.width & 0xFFU, 3, 1, 0x11, 0, 2, 0x11, 0, 3, 0x11, 0}));
    appendSegment(file, 0xC4, huffmanTable(0x00, kDcCounts, kDcValues));
    appendSegment(file, 0xC4, huffmanTable(0x10, kAcCounts, kAcValues));
    appendSegment(file, 0xDA, bytesOf({3, 1, 0, 2, 0, 3, 0, 0, 63, 0}));
    Encoder encoder{file};
    std::array<int, 3> previousDc{};
    for (unsigned top = 0; top < picture.height; top += 8) {
        for (unsigned left = 0; left < picture.width; left += 8) {
            for (unsigned which = 0; which < 3; ++which) {
                encoder.put(component(picture, left, top, which), previousDc[which]);
            }
        }
    }
    encoder.finish();
    wire::append(file, bytesOf({0xFF, 0xD9}));
    return file;
}

}  // namespace quillbox::simulator
