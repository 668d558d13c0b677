#include "cairn/containers/dl_list.h"

#include "cairn/foundation/exception.h"

#include <algorithm>
#include <limits>
#include <string>

// Rooms that hold no element are closed to the address sanitizer, which else couldn't see a use after `remove`.
#if defined(__SANITIZE_ADDRESS__)
#define CAIRN_LIST_POISONS 1
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define CAIRN_LIST_POISONS 1
#endif
#endif
#ifdef CAIRN_LIST_POISONS
#include <sanitizer/asan_interface.h>
#endif

namespace cairn {

namespace {

constexpr unsigned FIRST_BLOCK_NODES = 4; // most lists are the edges of a polygon
constexpr int WALKED_NODES = 8;           // so near an end, or in so short a list, links are as fast as a table
constexpr unsigned NO_SLOT = std::numeric_limits<unsigned>::max();
constexpr std::size_t CACHE_LINE = 64;

void closeRoom([[maybe_unused]] void* room, [[maybe_unused]] std::size_t size) {
#ifdef CAIRN_LIST_POISONS
    ASAN_POISON_MEMORY_REGION(room, size);
#endif
}

void openRoom([[maybe_unused]] void* room, [[maybe_unused]] std::size_t size) {
#ifdef CAIRN_LIST_POISONS
    ASAN_UNPOISON_MEMORY_REGION(room, size);
#endif
}

} // namespace

void throwBadListIndex(int index, int count) {
    throw new F_Exception("List index " + std::to_string(index) + " is outside a list of " + std::to_string(count) +
                          " elements");
}

void throwListFull() { throw new F_Exception("A list can't hold more elements than an int counts"); }

void throwNoDefaultElement() {
    throw new F_Exception("A list element without default constructor must be constructed from arguments");
}

/// Room for nodes in a row; the header stands behind them.
struct F_DLListBase::Block {
    Block* older;           ///< owned: the block made before, smaller
    std::byte* nodes;       ///< the first node, start of the allocation
    std::uintptr_t address; ///< of the first node
    unsigned firstSlot;     ///< number of the first node among the list's slots
    unsigned slots;         ///< number of nodes
};

F_DLListBase::F_DLListBase(std::size_t nodeSize, std::size_t alignment)
    : m_head{nullptr, &m_tail}, m_tail{&m_head, nullptr}, m_nodeSize(static_cast<std::uint32_t>(nodeSize)),
      m_alignment(
          static_cast<std::uint32_t>(std::max(alignment, nodeSize % CACHE_LINE == 0 ? CACHE_LINE : alignof(Block)))) {}

F_DLListBase::~F_DLListBase() { releaseRoom(); }

void F_DLListBase::addBlock() {
    addBlock(m_blocks ? std::max(m_blocks->slots * 2, FIRST_BLOCK_NODES) : FIRST_BLOCK_NODES);
}

void F_DLListBase::addBlock(unsigned slots) {
    const unsigned firstSlot = m_blocks ? m_blocks->firstSlot + m_blocks->slots : 0;
    if (slots > static_cast<unsigned>(std::numeric_limits<int>::max()) - firstSlot)
        throwListFull();
    const std::size_t bytes = std::size_t{slots} * m_nodeSize;
    const std::size_t header = (bytes + alignof(Block) - 1) / alignof(Block) * alignof(Block);
    auto* nodes = static_cast<std::byte*>(::operator new (header + sizeof(Block), std::align_val_t{m_alignment}));
    m_blocks = ::new (static_cast<void*>(nodes + header))
        Block{m_blocks, nodes, reinterpret_cast<std::uintptr_t>(nodes), firstSlot, slots};
    m_unused = slots;
    closeRoom(nodes, bytes);
}

F_DLListBase::Node* F_DLListBase::takeRoom() {
    Node* node = m_free;
    if (node) {
        m_free = node->next;
    } else {
        if (m_unused == 0)
            addBlock();
        node = reinterpret_cast<Node*>(m_blocks->nodes + std::size_t{m_blocks->slots - m_unused} * m_nodeSize);
        --m_unused;
    }
    openRoom(node, m_nodeSize);
    return ::new (static_cast<void*>(node)) Node{nullptr, nullptr};
}

void F_DLListBase::giveRoom(Node* node) noexcept {
    node->prev = nullptr;
    node->next = m_free;
    m_free = node;
    closeRoom(reinterpret_cast<std::byte*>(node) + sizeof(Node), m_nodeSize - sizeof(Node));
}

void F_DLListBase::releaseRoom() noexcept {
    while (m_blocks) {
        Block* block = m_blocks;
        m_blocks = block->older;
        openRoom(block->nodes, std::size_t{block->slots} * m_nodeSize);
        ::operator delete (block->nodes, std::align_val_t{m_alignment});
    }
    m_free = nullptr;
    m_unused = 0;
    m_table.reset();
    m_ranks.reset();
    m_valid = m_ranked = m_tableCapacity = m_rankCapacity = 0;
    m_head.next = &m_tail;
    m_tail.prev = &m_head;
    m_count = 0;
}

void F_DLListBase::freeAll() {
    while (m_count != 0) {
        Node* node = m_head.next;
        unlink(node);
        freeNode(node);
    }
    releaseRoom();
}

void F_DLListBase::reverseOrder() noexcept {
    if (m_count < 2)
        return;
    Node* first = m_head.next;
    Node* last = m_tail.prev;
    for (Node* node = first; node != &m_tail;) {
        Node* next = node->next;
        std::swap(node->prev, node->next);
        node = next;
    }
    first->next = &m_tail;
    last->prev = &m_head;
    m_head.next = last;
    m_tail.prev = first;
    forgetPositions(0);
}

void F_DLListBase::exchange(F_DLListBase& other) noexcept {
    assert(m_nodeSize == other.m_nodeSize && m_alignment == other.m_alignment);
    std::swap(m_head.next, other.m_head.next);
    std::swap(m_tail.prev, other.m_tail.prev);
    std::swap(m_count, other.m_count);
    std::swap(m_valid, other.m_valid);
    std::swap(m_ranked, other.m_ranked);
    std::swap(m_tableCapacity, other.m_tableCapacity);
    std::swap(m_rankCapacity, other.m_rankCapacity);
    std::swap(m_table, other.m_table);
    std::swap(m_ranks, other.m_ranks);
    std::swap(m_blocks, other.m_blocks);
    std::swap(m_free, other.m_free);
    std::swap(m_unused, other.m_unused);
    for (F_DLListBase* list : {this, &other}) {
        if (list->m_count == 0) {
            list->m_head.next = &list->m_tail;
            list->m_tail.prev = &list->m_head;
        } else {
            list->m_head.next->prev = &list->m_head;
            list->m_tail.prev->next = &list->m_tail;
        }
    }
}

// An append must not fail for want of a table: without room, the table is left to the next access.
bool F_DLListBase::growTable() noexcept {
    const unsigned capacity = m_tableCapacity * 2;
    std::unique_ptr<Node*[]> table(new (std::nothrow) Node*[capacity]);
    if (!table)
        return false;
    std::copy_n(m_table.get(), m_valid, table.get());
    m_table = std::move(table);
    m_tableCapacity = capacity;
    return true;
}

void F_DLListBase::completeTable() const {
    const auto count = static_cast<unsigned>(m_count);
    if (m_tableCapacity < count) {
        const unsigned capacity = std::max(count, m_tableCapacity + m_tableCapacity / 2);
        std::unique_ptr<Node*[]> table(new Node*[capacity]);
        std::copy_n(m_table.get(), m_valid, table.get());
        m_table = std::move(table);
        m_tableCapacity = capacity;
    }
    Node* node = m_valid == 0 ? m_head.next : m_table[m_valid - 1]->next;
    for (; m_valid < count; node = node->next)
        m_table[m_valid++] = node;
}

void F_DLListBase::completeRanks() const {
    completeTable();
    const unsigned slots = m_blocks->firstSlot + m_blocks->slots;
    if (m_rankCapacity < slots) {
        m_ranks = std::make_unique<unsigned[]>(slots);
        m_rankCapacity = slots;
        m_ranked = 0;
    }
    for (; m_ranked < m_valid; ++m_ranked)
        m_ranks[slotOf(reinterpret_cast<std::uintptr_t>(m_table[m_ranked]))] = m_ranked;
}

// Blocks double in size, so that the newest holds half of all nodes and a few steps find the block of most.
unsigned F_DLListBase::slotOf(std::uintptr_t address) const noexcept {
    for (const Block* block = m_blocks; block; block = block->older) {
        const std::uintptr_t offset = address - block->address;
        if (offset < std::uintptr_t{block->slots} * m_nodeSize)
            return offset % m_nodeSize == 0 ? block->firstSlot + static_cast<unsigned>(offset / m_nodeSize) : NO_SLOT;
    }
    return NO_SLOT;
}

bool F_DLListBase::owns(const Node* node) const noexcept {
    return slotOf(reinterpret_cast<std::uintptr_t>(node)) != NO_SLOT;
}

int F_DLListBase::positionOf(std::uintptr_t address) const {
    if (m_count <= WALKED_NODES) {
        int index = 0;
        for (const Node* node = m_head.next; node != &m_tail; node = node->next, ++index)
            if (reinterpret_cast<std::uintptr_t>(node) == address)
                return index;
        return -1;
    }
    const unsigned slot = slotOf(address);
    if (slot == NO_SLOT)
        return -1;
    completeRanks();
    // A slot without a linked node has an old rank or none: the table knows another node there, or ends before it.
    const unsigned rank = m_ranks[slot];
    return rank < m_valid && reinterpret_cast<std::uintptr_t>(m_table[rank]) == address ? static_cast<int>(rank) : -1;
}

F_DLListBase::Node* F_DLListBase::nodeBeyondTable(int index) const {
    if (index < 0 || index >= m_count)
        throwBadListIndex(index, m_count);
    if (index < WALKED_NODES) {
        Node* node = m_head.next;
        for (int i = 0; i < index; ++i)
            node = node->next;
        return node;
    }
    if (m_count - index <= WALKED_NODES) {
        Node* node = m_tail.prev;
        for (int i = m_count - 1; i > index; --i)
            node = node->prev;
        return node;
    }
    completeTable();
    return m_table[static_cast<unsigned>(index)];
}

unsigned F_DLListBaseArray::shiftFor(int elementsPerNode) noexcept {
    constexpr unsigned MOST = 10;
    unsigned shift = 0;
    while (shift < MOST && (1 << shift) < elementsPerNode)
        ++shift;
    return shift;
}

F_DLListBase::Node* F_DLListBaseArray::nodeForNext() {
    if (m_elements == std::numeric_limits<int>::max())
        throwListFull();
    if (placeOf(m_elements) == 0)
        link(makeNode(), tailNode());
    return lastNode();
}

void F_DLListBaseArray::dropLast() {
    --m_elements;
    dropEmptyTail();
}

void F_DLListBaseArray::dropEmptyTail() {
    if (placeOf(m_elements) != 0)
        return;
    Node* node = lastNode();
    unlink(node);
    freeNode(node);
}

void F_DLListBaseArray::dropAll() noexcept {
    m_elements = 0;
    releaseRoom();
}

} // namespace cairn
