// Rows that the next rows replace.
#pragma once

#include <cstring>

#include "../core/ownscratch.h"

// What sums may read behind the last value of a row.
constexpr ptrdiff_t ownReadAhead = 128;

// The rows that the windows of a few rows of results meet, in memory where the next rows replace the first.
template <class T>
struct OwnRing {
    int64_t rows;
    ptrdiff_t step;
    OwnScratch<T> memory;

    // Without rows it needs no memory to be good.
    OwnRing(int64_t count, ptrdiff_t values)
        : rows(count), step((values + 31) & ~ptrdiff_t{31}), memory(count ? fitting(count, step) : 1)
    {
        if (memory && rows)
            memset(memory.data, 0, size_t(rows * step) * sizeof(T));
    }
    static int64_t fitting(int64_t count, int64_t step) { return step <= INT32_MAX / count ? step * count : 0; }
    explicit operator bool() const { return bool(memory); }

    T* row(int64_t index) { return memory.data + index % rows * step; }

    // Row i of the window that begins at row `first`.
    struct Window {
        T* memory;
        int64_t first, rows;
        ptrdiff_t step;

        T* row(int64_t i) const { return memory + (first + i < rows ? first + i : first + i - rows) * step; }
    };
    Window window(int64_t first) { return {memory.data, first % rows, rows, step}; }
};
