#pragma once

#include <cassert>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <iterator>
#include <memory>
#include <new>
#include <type_traits>
#include <utility>

namespace cairn {

/// Throws an `F_Exception*` that tells the bad index and the number of elements.
[[noreturn]] void throwBadListIndex(int index, int count);

/// Throws an `F_Exception*`: the list holds as many elements as an `int` can count.
[[noreturn]] void throwListFull();

/// Throws an `F_Exception*`: a new element was asked for whose type has no default constructor.
[[noreturn]] void throwNoDefaultElement();

/// Links, node storage and position table of a doubly linked list, whatever its elements are.
///
/// Head and tail are sentinels inside the list; an element is stored in its node, behind the links, and never moves: its
/// address holds until it is removed, whatever happens to the list around it. Nodes come from blocks that double in size, so
/// that a list built in one go lies in memory in order. A removed node's room is used again by the list.
///
/// Access by index reads a table of the nodes in order. It is made when an index is asked for, an append extends it in place,
/// any other change of the order leaves it to be made again on the next access. A list that nobody indexes has none.
/// Access by index to a const list may make the table: like all of the library, a list belongs to one thread.
class F_DLListBase {
  public:
    F_DLListBase(const F_DLListBase&) = delete;
    F_DLListBase& operator=(const F_DLListBase&) = delete;

    /// Gives the blocks back. Destroying the elements is up to the class that made them.
    virtual ~F_DLListBase();

  protected:
    /// What stands ahead of an element.
    struct Node {
        Node* prev;
        Node* next;
    };

    /// An empty list of nodes of `nodeSize` bytes, a multiple of `alignment`.
    F_DLListBase(std::size_t nodeSize, std::size_t alignment);

    /// An unlinked node with its element.
    virtual Node* makeNode() = 0;

    /// Ends the element of an unlinked node and gives the node back.
    virtual void freeNode(Node* node) = 0;

    /// Room for a node, neither linked nor holding an element. Throws when memory or numbers run out.
    Node* takeRoom();

    /// Makes room for exactly so many nodes, in a list that has made none yet.
    void makeFirstRoom(int nodes) {
        if (!m_blocks && nodes > 0)
            addBlock(static_cast<unsigned>(nodes));
    }

    /// Takes back the room of a node whose element is gone.
    void giveRoom(Node* node) noexcept;

    /// Gives all blocks and tables back; the list is empty afterwards. Elements are not destroyed.
    void releaseRoom() noexcept;

    /// Puts an unlinked node in front of another node or of the tail sentinel.
    void link(Node* node, Node* before) noexcept {
        node->prev = before->prev;
        node->next = before;
        before->prev->next = node;
        before->prev = node;
        if (before != &m_tail)
            forgetPositions(0);
        else if (m_tableCapacity != 0 && m_valid == static_cast<unsigned>(m_count))
            extendTable(node);
        ++m_count;
    }

    /// Takes a node out of the order; its element stays alive.
    void unlink(Node* node) noexcept {
        assert(node->prev != nullptr && owns(node));
        forgetPositions(node->next == &m_tail ? static_cast<unsigned>(m_count - 1) : 0);
        node->prev->next = node->next;
        node->next->prev = node->prev;
        --m_count;
    }

    /// Unlinks and frees all nodes, first to last; the list is sound while an element's destructor runs. Gives all memory back.
    void freeAll();

    /// Puts the nodes in reverse order.
    void reverseOrder() noexcept;

    /// Exchanges nodes, storage and tables with a list of the same kind; every element keeps its address.
    void exchange(F_DLListBase& other) noexcept;

    /// The node at a position. Throws `F_Exception*` for a position outside the list. Constant time but for the rebuild of the
    /// table after a change; close to either end there is no rebuild.
    Node* nodeAt(int index) const {
        if (static_cast<unsigned>(index) < m_valid) [[likely]]
            return m_table[static_cast<unsigned>(index)];
        return nodeBeyondTable(index);
    }

    /// The position of the node at this address, -1 when none of the list's nodes stands there. Constant time but for the
    /// rebuild of the tables after a change.
    int positionOf(std::uintptr_t address) const;

    int nodeCount() const noexcept { return m_count; }
    Node* firstNode() const noexcept { return m_head.next; }
    Node* lastNode() const noexcept { return m_tail.prev; }
    Node* headNode() const noexcept { return const_cast<Node*>(&m_head); }
    Node* tailNode() const noexcept { return const_cast<Node*>(&m_tail); }

    /// The offset of an element of type T in its node.
    template <class T> static constexpr std::size_t elementOffset() { return roundUp(sizeof(Node), alignof(T)); }
    /// The alignment of a node with elements of type T.
    template <class T> static constexpr std::size_t nodeAlignment() {
        return alignof(T) > alignof(Node) ? alignof(T) : alignof(Node);
    }
    /// The size of a node with this many elements of type T.
    template <class T> static constexpr std::size_t nodeSize(std::size_t elements) {
        return roundUp(elementOffset<T>() + elements * sizeof(T), nodeAlignment<T>());
    }

  private:
    struct Block;

    static constexpr std::size_t roundUp(std::size_t size, std::size_t step) { return (size + step - 1) / step * step; }

    void forgetPositions(unsigned from) noexcept {
        if (from < m_valid)
            m_valid = from;
        if (from < m_ranked)
            m_ranked = from;
    }
    void extendTable(Node* node) noexcept {
        if (m_valid < m_tableCapacity || growTable())
            m_table[m_valid++] = node;
    }
    bool owns(const Node* node) const noexcept;
    bool growTable() noexcept;
    void addBlock();
    void addBlock(unsigned slots);
    void completeTable() const;
    void completeRanks() const;
    unsigned slotOf(std::uintptr_t address) const noexcept;
    Node* nodeBeyondTable(int index) const;

    Node m_head;                                 ///< sentinel in front of the first node
    Node m_tail;                                 ///< sentinel behind the last node
    int m_count = 0;                             ///< linked nodes
    mutable unsigned m_valid = 0;                ///< how many entries of the table hold
    mutable unsigned m_ranked = 0;               ///< how many nodes' ranks hold
    mutable unsigned m_tableCapacity = 0;        ///< entries the table has room for
    mutable unsigned m_rankCapacity = 0;         ///< slots the ranks have room for
    std::uint32_t m_nodeSize;                    ///< bytes from node to node in a block
    std::uint32_t m_alignment;                   ///< alignment of a block and its first node
    mutable std::unique_ptr<Node*[]> m_table;    ///< position to node
    mutable std::unique_ptr<unsigned[]> m_ranks; ///< slot to position, made when a position is first asked for
    Block* m_blocks = nullptr;                   ///< owned: newest (and largest) block, each knows the one before
    Node* m_free = nullptr;                      ///< rooms given back, chained by `next`; their `prev` is null
    unsigned m_unused = 0;                       ///< slots at the end of the newest block that were never used
};

/// A doubly linked list of plain elements, which are copied as bytes, begin as zeros and are never constructed or destroyed.
///
/// It is also the face of `F_DLListInit`, so that a list of either kind passes as `F_DLList<T>&`. An element is named by its
/// address; the pointers taken as "element" or "place" must be of elements of this list.
///
/// A node belongs to its list's blocks, so one element can't go over to another list with its address; a whole list can,
/// by `swap` or by a move, and within a list elements change places by `moveBefore` and `moveToTail`.
template <class T> class F_DLList : public F_DLListBase {
    template <class E> class Walk;

  public:
    using value_type = T;
    using iterator = Walk<T>;
    using const_iterator = Walk<const T>;

    /// An empty list. It allocates nothing.
    F_DLList() : F_DLList(Layout{}) { requirePlain(); }
    /// A list of copies of the other's elements.
    F_DLList(const F_DLList& other) : F_DLList() { appendCopies(other); }
    /// Takes over the other's elements, which keep their addresses.
    F_DLList(F_DLList&& other) noexcept : F_DLList() { exchange(other); }
    /// Replaces the elements by copies of the other's.
    F_DLList& operator=(const F_DLList& other) {
        if (this != &other) {
            clear();
            appendCopies(other);
        }
        return *this;
    }
    /// Replaces the elements by the other's, which keep their addresses.
    F_DLList& operator=(F_DLList&& other) noexcept {
        if (this != &other) {
            clear();
            exchange(other);
        }
        return *this;
    }
    ~F_DLList() override = default;

    /// The number of elements.
    int count() const noexcept { return nodeCount(); }
    /// True when there is no element.
    bool empty() const noexcept { return nodeCount() == 0; }

    /// A new element at the tail.
    T& addNew() { return insertNode(tailNode()); }
    /// A new element at the head.
    T& addNewAtHead() { return insertNode(firstNode()); }
    /// A new element in front of another.
    T& insertNewBefore(const T* place) { return insertNode(nodeOf(place)); }
    /// A new element behind another.
    T& insertNewAfter(const T* place) { return insertNode(nodeOf(place)->next); }

    /// A copy of the value at the tail. The value may be an element of this list.
    T& add(const T& value) { return insertCopy(tailNode(), value); }
    /// A copy of the value at the head.
    T& addAtHead(const T& value) { return insertCopy(firstNode(), value); }
    /// A copy of the value in front of an element.
    T& insertBefore(const T* place, const T& value) { return insertCopy(nodeOf(place), value); }
    /// A copy of the value behind an element.
    T& insertAfter(const T* place, const T& value) { return insertCopy(nodeOf(place)->next, value); }

    /// A hint of how many elements a list will hold that has held none since it was made or cleared: they take no more room
    /// than they need.
    void reserve(int elements) { makeFirstRoom(elements); }

    /// Takes an element out and ends it. All others keep their addresses.
    void remove(const T* element) { removeNode(nodeOf(element)); }
    /// Takes the element at a position out and ends it. Throws `F_Exception*` for a position outside the list.
    void removeAt(int index) { removeNode(nodeAt(index)); }
    /// Takes the first element out, if there is one.
    void removeFirst() {
        if (!empty())
            removeNode(firstNode());
    }
    /// Takes the last element out, if there is one.
    void removeLast() {
        if (!empty())
            removeNode(lastNode());
    }
    /// Takes all elements out, first to last, and gives all memory back.
    void clear() { freeAll(); }

    /// Moves an element in front of another; both keep their addresses.
    void moveBefore(const T* element, const T* place) { moveNode(nodeOf(element), nodeOf(place)); }
    /// Moves an element to the tail; it keeps its address.
    void moveToTail(const T* element) { moveNode(nodeOf(element), tailNode()); }
    /// Reverses the order; elements keep their addresses.
    void reverse() noexcept { reverseOrder(); }
    /// Exchanges all elements with another list of the same class; they keep their addresses. Constant time.
    void swap(F_DLList& other) noexcept { exchange(other); }

    /// The element at a position. Throws `F_Exception*` for a position outside the list. Constant time, but for a walk of the
    /// whole list on the first access after a change other than an append.
    T& operator[](int index) { return *elementOf(nodeAt(index)); }
    const T& operator[](int index) const { return *elementOf(nodeAt(index)); }

    /// The first element, null when there is none.
    T* first() noexcept { return elementOrNull(firstNode()); }
    const T* first() const noexcept { return elementOrNull(firstNode()); }
    /// The last element, null when there is none.
    T* last() noexcept { return elementOrNull(lastNode()); }
    const T* last() const noexcept { return elementOrNull(lastNode()); }
    /// The element behind another, null behind the last.
    T* next(const T* element) noexcept { return elementOrNull(nodeOf(element)->next); }
    const T* next(const T* element) const noexcept { return elementOrNull(nodeOf(element)->next); }
    /// The element in front of another, null in front of the first.
    T* prev(const T* element) noexcept { return elementOrNull(nodeOf(element)->prev); }
    const T* prev(const T* element) const noexcept { return elementOrNull(nodeOf(element)->prev); }

    /// The position of the element at this address, -1 when no element of this list stands there (any address may be asked
    /// for). Constant time, but for a walk of the whole list on the first call after a change other than an append.
    int indexOf(const T* element) const { return positionOf(reinterpret_cast<std::uintptr_t>(element) - OFFSET()); }
    /// True when an element of this list stands at this address.
    bool contains(const T* element) const { return indexOf(element) >= 0; }
    /// The position of the first element equal to the value, -1 when there is none. Walks the list.
    int indexOfValue(const T& value) const {
        int index = 0;
        for (const T& element : *this) {
            if (element == value)
                return index;
            ++index;
        }
        return -1;
    }

    /// Range-for walks the elements in order. The walk looks one element ahead: the body may remove the current element, may
    /// insert in front of it and may change the list anywhere but at the element behind it. It doesn't see what is put
    /// directly behind the current element meanwhile. A walk by `first` and `next` looks only when it steps.
    iterator begin() noexcept { return iterator(firstNode()); }
    iterator end() noexcept { return iterator(tailNode()); }
    const_iterator begin() const noexcept { return const_iterator(firstNode()); }
    const_iterator end() const noexcept { return const_iterator(tailNode()); }

  protected:
    /// Leads to the constructor for elements that aren't plain.
    struct Layout {};
    explicit F_DLList(Layout) : F_DLListBase(nodeSize<T>(1), nodeAlignment<T>()) {}

    Node* makeNode() override {
        Node* node = takeRoom();
        std::memset(static_cast<void*>(roomOf(node)), 0, sizeof(T));
        return node;
    }
    void freeNode(Node* node) override { giveRoom(node); }

    static std::byte* roomOf(Node* node) noexcept { return reinterpret_cast<std::byte*>(node) + OFFSET(); }
    static T* elementOf(Node* node) noexcept { return std::launder(reinterpret_cast<T*>(roomOf(node))); }
    static Node* nodeOf(const T* element) noexcept {
        return reinterpret_cast<Node*>(reinterpret_cast<std::byte*>(const_cast<T*>(element)) - OFFSET());
    }
    T* elementOrNull(Node* node) const noexcept {
        return node == headNode() || node == tailNode() ? nullptr : elementOf(node);
    }

  private:
    static constexpr std::size_t OFFSET() { return elementOffset<T>(); }

    static constexpr void requirePlain() {
        static_assert(std::is_trivially_copyable_v<T>, "F_DLList never constructs its elements: use F_DLListInit");
    }
    T& insertNode(Node* before) {
        Node* node = makeNode();
        link(node, before);
        return *elementOf(node);
    }
    T& insertCopy(Node* before, const T& value) {
        struct Unlinked {
            F_DLList& list;
            Node* node;
            ~Unlinked() {
                if (node)
                    list.freeNode(node);
            }
        } made{*this, makeNode()};
        *elementOf(made.node) = value;
        link(made.node, before);
        return *elementOf(std::exchange(made.node, nullptr));
    }
    void appendCopies(const F_DLList& other) {
        for (const T& value : other)
            add(value);
    }
    void removeNode(Node* node) {
        unlink(node);
        freeNode(node);
    }
    void moveNode(Node* node, Node* before) noexcept {
        if (node == before)
            return;
        unlink(node);
        link(node, before);
    }
};

/// Walks a list forward, one node ahead of itself.
template <class T> template <class E> class F_DLList<T>::Walk {
  public:
    using iterator_category = std::forward_iterator_tag;
    using value_type = T;
    using difference_type = std::ptrdiff_t;
    using pointer = E*;
    using reference = E&;

    Walk() = default;
    explicit Walk(Node* node) noexcept : m_node(node), m_next(node->next) {}
    /// A changeable walk passes as a const one.
    operator Walk<const T>() const noexcept { return Walk<const T>(m_node); }

    E& operator*() const noexcept { return *elementOf(m_node); }
    E* operator->() const noexcept { return elementOf(m_node); }
    Walk& operator++() noexcept {
        m_node = m_next;
        m_next = m_node->next;
        return *this;
    }
    Walk operator++(int) noexcept {
        Walk before = *this;
        ++*this;
        return before;
    }
    friend bool operator==(const Walk& a, const Walk& b) noexcept { return a.m_node == b.m_node; }

  private:
    Node* m_node = nullptr; ///< not owned: the current node
    Node* m_next = nullptr; ///< not owned: the node behind it, as it was on arrival
};

/// A doubly linked list that constructs its elements and destroys them.
///
/// All operations are those of `F_DLList`; what they call a new element is here a default constructed one. Elements without a
/// default constructor are made by `add`, `emplace` and `emplaceBefore`; the others throw an `F_Exception*` for them.
template <class T> class F_DLListInit : public F_DLList<T> {
    using Base = F_DLList<T>;
    using typename Base::Node;

  public:
    /// An empty list. It allocates nothing.
    F_DLListInit() : Base(typename Base::Layout{}) {}
    /// A list of copies of the other's elements.
    F_DLListInit(const F_DLListInit& other) : F_DLListInit() {
        for (const T& value : other)
            emplace(value);
    }
    /// Takes over the other's elements, which keep their addresses.
    F_DLListInit(F_DLListInit&& other) noexcept : F_DLListInit() { this->exchange(other); }
    /// Replaces the elements by copies of the other's; they are all made before the old ones go.
    F_DLListInit& operator=(const F_DLListInit& other) {
        if (this != &other) {
            F_DLListInit copy(other);
            this->exchange(copy);
        }
        return *this;
    }
    /// Replaces the elements by the other's, which keep their addresses.
    F_DLListInit& operator=(F_DLListInit&& other) noexcept {
        if (this != &other) {
            this->clear();
            this->exchange(other);
        }
        return *this;
    }
    /// Destroys the elements, first to last.
    ~F_DLListInit() override { this->freeAll(); }

    /// A copy of the value at the tail, made by its copy constructor.
    T& add(const T& value) { return emplace(value); }
    /// The value at the tail, moved there.
    T& add(T&& value) { return emplace(std::move(value)); }
    /// An element constructed from the arguments, at the tail.
    template <class... Args> T& emplace(Args&&... args) {
        return linkNew(this->tailNode(), std::forward<Args>(args)...);
    }
    /// An element constructed from the arguments, in front of another.
    template <class... Args> T& emplaceBefore(const T* place, Args&&... args) {
        return linkNew(this->nodeOf(place), std::forward<Args>(args)...);
    }

  protected:
    Node* makeNode() override {
        if constexpr (std::is_default_constructible_v<T>)
            return construct();
        else
            throwNoDefaultElement();
    }
    void freeNode(Node* node) override {
        std::destroy_at(this->elementOf(node));
        this->giveRoom(node);
    }

  private:
    template <class... Args> T& linkNew(Node* before, Args&&... args) {
        Node* node = construct(std::forward<Args>(args)...);
        this->link(node, before);
        return *this->elementOf(node);
    }
    template <class... Args> Node* construct(Args&&... args) {
        Node* node = this->takeRoom();
        try {
            ::new (static_cast<void*>(this->roomOf(node))) T(std::forward<Args>(args)...);
        } catch (...) {
            this->giveRoom(node);
            throw;
        }
        return node;
    }
};

/// Counting and addressing of a list whose nodes hold several elements each, whatever these are.
///
/// Every node but the last is full, so a position is a node and a place in it.
class F_DLListBaseArray : public F_DLListBase {
  public:
    /// The number of elements.
    int count() const noexcept { return m_elements; }
    /// True when there is no element.
    bool empty() const noexcept { return m_elements == 0; }
    /// How many elements a node holds.
    int elementsPerNode() const noexcept { return 1 << m_shift; }

  protected:
    /// An empty list with 2 to the power of `shift` elements a node.
    F_DLListBaseArray(std::size_t nodeSize, std::size_t alignment, unsigned shift)
        : F_DLListBase(nodeSize, alignment), m_shift(shift) {}

    /// The power of two that holds this many elements a node: at least 1, at most 1,024 of them.
    static unsigned shiftFor(int elementsPerNode) noexcept;

    Node* makeNode() override { return takeRoom(); }
    void freeNode(Node* node) override { giveRoom(node); }

    /// The node of the next element to come; makes one when the last is full. Throws when memory or numbers run out.
    Node* nodeForNext();
    /// Counts the element that was made in the node of `nodeForNext`.
    void countNext() noexcept { ++m_elements; }
    /// Drops the last element, already ended, and its node if that is empty now.
    void dropLast();
    /// Drops an empty node at the tail, which an element that failed to come left behind.
    void dropEmptyTail();
    /// Gives all memory back; the elements have ended.
    void dropAll() noexcept;

    /// The place of a position in its node.
    unsigned placeOf(int index) const noexcept { return static_cast<unsigned>(index) & ((1U << m_shift) - 1); }
    /// The node of a position. Throws `F_Exception*` for a position outside the list.
    Node* nodeOfPosition(int index) const {
        if (static_cast<unsigned>(index) >= static_cast<unsigned>(m_elements))
            throwBadListIndex(index, m_elements);
        return nodeAt(index >> m_shift);
    }

  private:
    int m_elements = 0; ///< elements in all nodes
    unsigned m_shift;   ///< binary logarithm of the elements a node
};

/// A list with several elements a node: fewer links for small elements, in return it grows and shrinks at its tail alone.
///
/// It constructs and destroys its elements; an element's address holds until it is removed.
template <class T> class F_DLListArray : public F_DLListBaseArray {
    template <class E> class Walk;

  public:
    using value_type = T;
    using iterator = Walk<T>;
    using const_iterator = Walk<const T>;

    /// An empty list. `elementsPerNode` is rounded up to a power of two.
    explicit F_DLListArray(int elementsPerNode = 16) : F_DLListArray(Shift{shiftFor(elementsPerNode)}) {}
    /// Destroys the elements, first to last.
    ~F_DLListArray() override { clear(); }

    /// A new element at the tail, default constructed.
    T& addNew() { return emplace(); }
    /// A copy of the value at the tail. The value may be an element of this list.
    T& add(const T& value) { return emplace(value); }
    /// An element constructed from the arguments, at the tail.
    template <class... Args> T& emplace(Args&&... args) {
        Node* node = nodeForNext();
        T* element = nullptr;
        try {
            element = ::new (static_cast<void*>(roomOf(node, placeOf(count())))) T(std::forward<Args>(args)...);
        } catch (...) {
            dropEmptyTail();
            throw;
        }
        countNext();
        return *element;
    }
    /// Takes the last element out, if there is one.
    void removeLast() {
        if (empty())
            return;
        std::destroy_at(last());
        dropLast();
    }
    /// Takes all elements out, first to last, and gives all memory back.
    void clear() {
        for (T& element : *this)
            std::destroy_at(&element);
        dropAll();
    }

    /// The element at a position, in constant time. Throws `F_Exception*` for a position outside the list.
    T& operator[](int index) { return *elementOf(nodeOfPosition(index), placeOf(index)); }
    const T& operator[](int index) const { return *elementOf(nodeOfPosition(index), placeOf(index)); }

    /// The first element, null when there is none.
    T* first() noexcept { return empty() ? nullptr : elementOf(firstNode(), 0); }
    const T* first() const noexcept { return empty() ? nullptr : elementOf(firstNode(), 0); }
    /// The last element, null when there is none.
    T* last() noexcept { return empty() ? nullptr : elementOf(lastNode(), placeOf(count() - 1)); }
    const T* last() const noexcept { return empty() ? nullptr : elementOf(lastNode(), placeOf(count() - 1)); }

    /// Range-for walks the elements in order. Elements may be added meanwhile, which it does not reach; none may be removed.
    iterator begin() noexcept { return iterator(firstNode(), 0, perNode()); }
    iterator end() noexcept { return iterator(nullptr, count(), perNode()); }
    const_iterator begin() const noexcept { return const_iterator(firstNode(), 0, perNode()); }
    const_iterator end() const noexcept { return const_iterator(nullptr, count(), perNode()); }

  private:
    struct Shift {
        unsigned value;
    };
    explicit F_DLListArray(Shift shift)
        : F_DLListBaseArray(nodeSize<T>(std::size_t{1} << shift.value), nodeAlignment<T>(), shift.value) {}

    static std::byte* roomOf(Node* node, unsigned place) noexcept {
        return reinterpret_cast<std::byte*>(node) + elementOffset<T>() + place * sizeof(T);
    }
    static T* elementOf(Node* node, unsigned place) noexcept {
        return std::launder(reinterpret_cast<T*>(roomOf(node, place)));
    }
    unsigned perNode() const noexcept { return static_cast<unsigned>(elementsPerNode()); }
};

/// Walks an array list forward.
template <class T> template <class E> class F_DLListArray<T>::Walk {
  public:
    using iterator_category = std::forward_iterator_tag;
    using value_type = T;
    using difference_type = std::ptrdiff_t;
    using pointer = E*;
    using reference = E&;

    Walk() = default;
    Walk(Node* node, int index, unsigned perNode) noexcept : m_node(node), m_index(index), m_perNode(perNode) {}

    E& operator*() const noexcept { return *elementOf(m_node, m_place); }
    E* operator->() const noexcept { return elementOf(m_node, m_place); }
    Walk& operator++() noexcept {
        ++m_index;
        if (++m_place == m_perNode) {
            m_node = m_node->next;
            m_place = 0;
        }
        return *this;
    }
    Walk operator++(int) noexcept {
        Walk before = *this;
        ++*this;
        return before;
    }
    /// By the index: what was the end stays it where a node comes behind.
    friend bool operator==(const Walk& a, const Walk& b) noexcept { return a.m_index == b.m_index; }

  private:
    Node* m_node = nullptr; ///< not owned: node of the current element; null at the end of the list
    int m_index = 0;        ///< of the element in the list
    unsigned m_place = 0;   ///< its place in the node
    unsigned m_perNode = 1; ///< elements a node
};

} // namespace cairn
