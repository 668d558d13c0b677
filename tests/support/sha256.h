#pragma once

#include <array>
#include <bit>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <string>

namespace cairn::test {

/// The SHA-256 of `bytes` in hexadecimal (FIPS 180-4). Its constants are the first fractional bits of the square and cube
/// roots of the primes.
inline std::string sha256(const std::string& bytes) {
    const auto fraction = [](long double root) {
        return static_cast<std::uint32_t>((root - std::floor(root)) * 4294967296.0L);
    };
    std::array<std::uint32_t, 64> constants{};
    std::array<std::uint32_t, 8> hash{};
    for (unsigned prime = 2, n = 0; n < constants.size(); ++prime) {
        bool isPrime = true;
        for (unsigned d = 2; d < prime; ++d)
            isPrime = isPrime && prime % d != 0;
        if (!isPrime)
            continue;
        if (n < hash.size())
            hash[n] = fraction(std::sqrt(static_cast<long double>(prime)));
        constants[n++] = fraction(std::cbrt(static_cast<long double>(prime)));
    }

    std::string padded = bytes + '\x80';
    padded.resize((padded.size() + 8 + 63) / 64 * 64);
    for (unsigned i = 0; i < 8; ++i)
        padded[padded.size() - 1 - i] = static_cast<char>(std::uint64_t{bytes.size()} * 8 >> 8 * i);
    for (std::size_t block = 0; block < padded.size(); block += 64) {
        std::array<std::uint32_t, 64> w{};
        for (std::size_t i = 0; i < 64; ++i)
            w[i / 4] = w[i / 4] << 8 | static_cast<unsigned char>(padded[block + i]);
        for (std::size_t i = 16; i < 64; ++i)
            w[i] = w[i - 16] + w[i - 7] + (std::rotr(w[i - 15], 7) ^ std::rotr(w[i - 15], 18) ^ w[i - 15] >> 3) +
                   (std::rotr(w[i - 2], 17) ^ std::rotr(w[i - 2], 19) ^ w[i - 2] >> 10);
        std::array<std::uint32_t, 8> s = hash;
        for (std::size_t i = 0; i < 64; ++i) {
            const std::uint32_t a = s[7] + (std::rotr(s[4], 6) ^ std::rotr(s[4], 11) ^ std::rotr(s[4], 25)) +
                                    ((s[4] & s[5]) ^ (~s[4] & s[6])) + constants[i] + w[i];
            const std::uint32_t b = (std::rotr(s[0], 2) ^ std::rotr(s[0], 13) ^ std::rotr(s[0], 22)) +
                                    ((s[0] & s[1]) ^ (s[0] & s[2]) ^ (s[1] & s[2]));
            s = {a + b, s[0], s[1], s[2], s[3] + a, s[4], s[5], s[6]};
        }
        for (std::size_t i = 0; i < 8; ++i)
            hash[i] += s[i];
    }
    std::string text;
    for (const std::uint32_t word : hash) {
        char digits[9];
        std::snprintf(digits, sizeof digits, "%08x", word);
        text += digits;
    }
    return text;
}

} // namespace cairn::test
