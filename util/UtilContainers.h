#pragma once

#include <QList>
#include <unordered_set>
#include <vector>

// Keeps the first occurrence of every pointer, in order, and drops the later ones.
template<typename T> void UTIL_removeDuplicates(QList<T *> &list)
{
    std::unordered_set<const T *> seen;
    seen.reserve(size_t(list.size()));
    qsizetype kept = 0;
    for (qsizetype i = 0; i < list.size(); ++i) {
        if (seen.insert(list.at(i)).second)
            list[kept++] = list.at(i);
    }
    list.resize(kept);
}

template<typename T> void UTIL_removeDuplicates(std::vector<T *> &vector)
{
    std::unordered_set<const T *> seen;
    seen.reserve(vector.size());
    size_t kept = 0;
    for (size_t i = 0; i < vector.size(); ++i) {
        if (seen.insert(vector[i]).second)
            vector[kept++] = vector[i];
    }
    vector.resize(kept);
}

// Deletes every element once. The container keeps its (de-duplicated) size with stale
// pointers: the caller clears it.
template<typename T> void UTIL_deleteListAsPointerArray(QList<T *> &list)
{
    UTIL_removeDuplicates(list);
    for (T *item : std::as_const(list))
        delete item;
}

template<typename T> void UTIL_deleteVectorAsPointerArray(std::vector<T *> &vector)
{
    UTIL_removeDuplicates(vector);
    for (T *item : vector)
        delete item;
}
