#include "packages/CChildNameIndex.h"

#include "packages/CPackageHierarchyNode.h"

#include <array>

namespace {

// QChar::toLower of each Latin-1 character: for a name of Latin-1 characters
// it gives what QString::toLower gives, one character at a time.
const std::array<char16_t, 256> &latin1Fold()
{
    static const std::array<char16_t, 256> folds = [] {
        std::array<char16_t, 256> out {};
        for (int c = 0; c < 256; ++c)
            out[size_t(c)] = QChar(char16_t(c)).toLower().unicode();
        return out;
    }();
    return folds;
}

// A hash of a sequence of lower-case UTF-16 units, four units to a step.
class UnitHash
{
public:
    void add(char16_t unit)
    {
        word |= quint64(unit) << (16 * filled);
        if (++filled == 4) {
            hash = (hash ^ word) * 0x9E3779B97F4A7C15ull;
            word = 0;
            filled = 0;
        }
        ++length;
    }
    quint32 result() const
    {
        quint64 h = (hash ^ word ^ (quint64(length) << 56)) * 0x9E3779B97F4A7C15ull;
        return quint32(h >> 32) ^ quint32(h);
    }

private:
    quint64 hash = 0x243F6A8885A308D3ull;
    quint64 word = 0;
    int filled = 0;
    quint64 length = 0;
};

} // namespace

quint32 CChildNameIndex::foldedHash(QStringView name)
{
    const std::array<char16_t, 256> &fold = latin1Fold();
    UnitHash hash;
    for (const QChar c : name) {
        const char16_t unit = c.unicode();
        if (unit > 0xFF) {
            // Rare: the full lower-casing, which may change the length.
            UnitHash lowered;
            for (const QChar lower : name.toString().toLower())
                lowered.add(lower.unicode());
            return lowered.result();
        }
        hash.add(fold[unit]);
    }
    return hash.result();
}

bool CChildNameIndex::foldedEquals(QStringView a, QStringView b)
{
    const qsizetype length = a.size();
    const QChar *pa = a.data(), *pb = b.data();
    const std::array<char16_t, 256> &fold = latin1Fold();
    bool latin1 = length == b.size();
    for (qsizetype i = 0; latin1 && i < length; ++i) {
        const char16_t ua = pa[i].unicode(), ub = pb[i].unicode();
        if (ua > 0xFF || ub > 0xFF)
            latin1 = false;
        else if (fold[ua] != fold[ub])
            return false;
    }
    if (latin1)
        return true;
    return a.toString().toLower() == b.toString().toLower();
}

const QString &CChildNameIndex::nameOf(const CPackageHierarchyNode *node)
{
    return node->getName();
}

void CChildNameIndex::reserve(qsizetype wanted)
{
    // At most three quarters full, so that probes stay short.
    qsizetype needed = 8;
    while (needed - needed / 4 < wanted)
        needed *= 2;
    if (needed > capacity)
        grow(needed);
}

void CChildNameIndex::grow(qsizetype newCapacity)
{
    std::unique_ptr<Slot_t[]> old = std::move(table);
    const qsizetype oldCapacity = capacity;
    table.reset(new Slot_t[size_t(newCapacity)]());
    capacity = newCapacity;
    for (qsizetype i = 0; i < oldCapacity; ++i) {
        if (!old[i].node)
            continue;
        qsizetype at = old[i].hash & (capacity - 1);
        while (table[at].node)
            at = (at + 1) & (capacity - 1);
        table[at] = old[i];
    }
}

CPackageHierarchyNode *CChildNameIndex::find(const QString &name, quint32 hash) const
{
    if (capacity == 0)
        return nullptr;
    for (qsizetype at = hash & (capacity - 1);; at = (at + 1) & (capacity - 1)) {
        const Slot_t &slot = table[at];
        if (!slot.node)
            return nullptr;
        if (slot.hash == hash && foldedEquals(nameOf(slot.node), name))
            return slot.node;
    }
}

void CChildNameIndex::insert(CPackageHierarchyNode *node, quint32 hash)
{
    if (count + 1 > capacity - capacity / 4)
        grow(capacity ? capacity * 2 : 8);
    qsizetype at = hash & (capacity - 1);
    while (table[at].node)
        at = (at + 1) & (capacity - 1);
    table[at] = { node, hash };
    ++count;
}

void CChildNameIndex::remove(CPackageHierarchyNode *node)
{
    if (capacity == 0)
        return;
    const qsizetype mask = capacity - 1;
    qsizetype at = foldedHash(nameOf(node)) & mask;
    while (table[at].node && table[at].node != node)
        at = (at + 1) & mask;
    if (table[at].node != node) {
        // Renamed behind the index's back: look for the pointer itself, so
        // that no deleted node stays behind.
        at = 0;
        while (at < capacity && table[at].node != node)
            ++at;
        if (at == capacity)
            return;
    }
    // Shift the rest of the run back, so that no probe stops early at the hole.
    qsizetype hole = at;
    for (qsizetype next = (hole + 1) & mask; table[next].node; next = (next + 1) & mask) {
        const qsizetype home = table[next].hash & mask;
        // The entry may move into the hole if its home is not in (hole, next].
        const bool between
            = hole <= next ? (home > hole && home <= next) : (home > hole || home <= next);
        if (!between) {
            table[hole] = table[next];
            hole = next;
        }
    }
    table[hole] = { nullptr, 0 };
    --count;
}
