#include "host/png_writer.h"

#include <cstddef>
#include <cstdlib>
#include <new>
#include <utility>

namespace cairn::host {

namespace {

/// The memory of one call of the encoder, which does not look whether its growing buffers could be had: it is left by an
/// exception then, and what it has taken goes with the call.
class Call {
  public:
    Call() : m_outer(std::exchange(s_current, this)) { m_blocks.previous = m_blocks.next = &m_blocks; }
    ~Call() {
        while (m_blocks.next != &m_blocks)
            give(m_blocks.next + 1);
        s_current = m_outer;
    }
    Call(const Call&) = delete;
    Call& operator=(const Call&) = delete;

    /// Null stands for no room yet.
    static void* reallocate(void* room, std::size_t size) {
        Block* const old = room ? static_cast<Block*>(room) - 1 : nullptr;
        void* const grown = std::realloc(old, sizeof(Block) + size);
        if (!grown)
            throw std::bad_alloc();
        auto* const block = static_cast<Block*>(grown);
        if (!old) {
            block->previous = &s_current->m_blocks;
            block->next = s_current->m_blocks.next;
        }
        block->previous->next = block->next->previous = block;
        return block + 1;
    }
    static void give(void* room) {
        if (!room)
            return;
        Block* const block = static_cast<Block*>(room) - 1;
        block->previous->next = block->next;
        block->next->previous = block->previous;
        std::free(block);
    }

  private:
    /// Stands ahead of what the encoder uses.
    struct alignas(std::max_align_t) Block {
        Block* previous;
        Block* next;
    };

    static thread_local Call* s_current;
    Block m_blocks; ///< what was taken: a ring
    Call* m_outer;  ///< not owned: null for none
};

thread_local Call* Call::s_current = nullptr;

} // namespace

} // namespace cairn::host

#define STBIW_MALLOC(size) cairn::host::Call::reallocate(nullptr, size)
#define STBIW_REALLOC(block, size) cairn::host::Call::reallocate(block, size)
#define STBIW_FREE(block) cairn::host::Call::give(block)
#define STBI_WRITE_NO_STDIO
#define STB_IMAGE_WRITE_STATIC
#define STB_IMAGE_WRITE_IMPLEMENTATION
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wold-style-cast"
#pragma GCC diagnostic ignored "-Wsign-conversion"
#pragma GCC diagnostic ignored "-Wunused-function"
#include <stb_image_write.h>
#pragma GCC diagnostic pop

namespace cairn::host {

std::vector<unsigned char> encodePng(const I_Color* pixels, int width, int height) {
    constexpr int CHANNELS = 4;
    // The encoder adds up a row's differences in an `int`, to choose a filter by; a wider row goes without one.
    constexpr int WIDEST_FILTERED = 0x7FFFFFFF / (CHANNELS * 128);
    const auto count = static_cast<std::size_t>(width) * static_cast<std::size_t>(height);
    std::vector<unsigned char> channels;
    channels.reserve(count * CHANNELS);
    for (std::size_t i = 0; i < count; ++i)
        channels.insert(channels.end(), {pixels[i].red, pixels[i].green, pixels[i].blue, pixels[i].alpha});

    stbi_write_force_png_filter = width > WIDEST_FILTERED ? 0 : -1;
    const Call call;
    int size = 0;
    const unsigned char* const png =
        stbi_write_png_to_mem(channels.data(), width * CHANNELS, width, height, CHANNELS, &size);
    return {png, png + size};
}

} // namespace cairn::host
