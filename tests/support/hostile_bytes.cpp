#include "tests/support/hostile_bytes.h"

#include "cairn/foundation/exception.h"
#include "tests/support/allocation_meter.h"
#include "tests/support/chunk_repair.h"

#include <algorithm>
#include <exception>
#include <iterator>

namespace cairn::test {

namespace {

constexpr std::size_t ALLOCATION_FACTOR = 8, ALLOCATION_BASE = 16 << 20; ///< bytes a reader may take for its input

class Drive {
  public:
    Drive(std::span<const unsigned char> image, const HostileReader& reader, std::size_t step)
        : m_image(image), m_reader(reader), m_step(step) {}

    HostileBytesResult run() {
        for (std::size_t size = 0; size < m_image.size(); size += m_step)
            read(m_image.first(size), formatText("cut at %zu", size));
        for (std::size_t at = 0; at < m_image.size(); at += m_step)
            change(at);
        return std::move(m_result);
    }

  private:
    void change(std::size_t at) {
        const unsigned char was = m_image[at];
        const int values[] = {0, 255, was ^ 1, was ^ 128, was + 1};
        for (const int* v = std::begin(values); v != std::end(values); ++v) {
            const auto value = static_cast<unsigned char>(*v);
            if (value == was || std::find(std::begin(values), v, *v) != v)
                continue;
            std::vector<unsigned char> changed(m_image.begin(), m_image.end());
            changed[at] = value;
            read(changed, formatText("byte %zu set to %d", at, value));
            repairChunks(changed);
            read(changed, formatText("byte %zu set to %d, checksums repaired", at, value));
        }
    }

    void read(std::span<const unsigned char> bytes, const string& what) {
        const std::vector<unsigned char> exact(bytes.begin(), bytes.end());
        const AllocationMeter meter;
        try {
            m_reader(exact);
            ++m_result.taken;
        } catch (F_Exception* e) {
            const F_ExceptionGuard guard(e);
            ++m_result.refused;
        } catch (CException* e) {
            const F_ExceptionGuard guard(e);
            fail(what + ": an exception of another family");
        } catch (const std::exception& e) {
            fail(what + ": a standard exception: " + e.what());
        } catch (...) {
            fail(what + ": an exception of unknown type");
        }
        const std::size_t bound = ALLOCATION_FACTOR * exact.size() + ALLOCATION_BASE;
        if (meter.largest() > bound || meter.peak() > bound)
            fail(what + formatText(": took %zu bytes at once and %zu in sum, allowed are %zu", meter.largest(),
                                   meter.peak(), bound));
    }

    void fail(string text) {
        if (m_result.failures.size() < HostileBytesResult::MAX_FAILURES)
            m_result.failures.push_back(std::move(text));
    }

    std::span<const unsigned char> m_image;
    const HostileReader& m_reader;
    std::size_t m_step; ///< from one damaged byte to the next
    HostileBytesResult m_result;
};

} // namespace

std::string HostileBytesResult::text() const {
    std::string all;
    for (const std::string& f : failures)
        all += f + "\n";
    return all;
}

HostileBytesResult driveHostileBytes(std::span<const unsigned char> image, const HostileReader& reader,
                                     std::size_t step) {
    return Drive(image, reader, step).run();
}

} // namespace cairn::test
