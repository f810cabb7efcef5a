// Rows and columns of a plane of complex values in double precision, on their way to the lanes of a block and back.
#include "owncomplex.h"
#include "ownfourier.h"

namespace OWN_ISA {
namespace {

constexpr int lanes = vectorBytes / int(sizeof(double));

inline DoubleVector take(const double* from)
{
    DoubleVector v;
    __builtin_memcpy(&v, from, sizeof v);
    return v;
}

inline void put(double* to, DoubleVector v)
{
    __builtin_memcpy(to, &v, sizeof v);
}

// Swaps rows and columns of a square of lanes.
inline void transposeSquare(DoubleVector (&v)[lanes])
{
#if defined(__AVX2__)
    DoubleVector a = __builtin_shufflevector(v[0], v[1], 0, 4, 2, 6),
                 b = __builtin_shufflevector(v[0], v[1], 1, 5, 3, 7);
    DoubleVector c = __builtin_shufflevector(v[2], v[3], 0, 4, 2, 6),
                 d = __builtin_shufflevector(v[2], v[3], 1, 5, 3, 7);
    v[0] = __builtin_shufflevector(a, c, 0, 1, 4, 5);
    v[1] = __builtin_shufflevector(b, d, 0, 1, 4, 5);
    v[2] = __builtin_shufflevector(a, c, 2, 3, 6, 7);
    v[3] = __builtin_shufflevector(b, d, 2, 3, 6, 7);
#else
    DoubleVector first = __builtin_shufflevector(v[0], v[1], 0, 2);
    v[1] = __builtin_shufflevector(v[0], v[1], 1, 3);
    v[0] = first;
#endif
}

void rowsIn(const double* re, const double* im, ptrdiff_t step, const OwnFourierTable<double>& table, double* block)
{
    auto* x = reinterpret_cast<DoubleVector*>(block);
    for (ptrdiff_t e = 0; e < table.length; e += lanes)
        for (int part = 0; part < 2; ++part) {
            DoubleVector square[lanes];
            for (int l = 0; l < lanes; ++l)
                square[l] = take((part ? im : re) + l * step + e);
            transposeSquare(square);
            for (int i = 0; i < lanes; ++i)
                x[2 * ptrdiff_t{table.order[e + i]} + part] = square[i];
        }
}

void rowsOut(const double* block, const OwnFourierTable<double>& table, double* re, double* im, ptrdiff_t step)
{
    auto* x = reinterpret_cast<const DoubleVector*>(block);
    for (ptrdiff_t e = 0; e < table.length; e += lanes)
        for (int part = 0; part < 2; ++part) {
            DoubleVector square[lanes];
            for (int i = 0; i < lanes; ++i)
                square[i] = x[2 * (e + i) + part];
            transposeSquare(square);
            for (int l = 0; l < lanes; ++l)
                put((part ? im : re) + l * step + e, square[l]);
        }
}

void columnsIn(const double* re, const double* im, ptrdiff_t step, const OwnFourierTable<double>& table, double* block)
{
    auto* x = reinterpret_cast<DoubleVector*>(block);
    for (ptrdiff_t e = 0; e < table.length; ++e) {
        x[2 * ptrdiff_t{table.order[e]}] = take(re + e * step);
        x[2 * ptrdiff_t{table.order[e]} + 1] = take(im + e * step);
    }
}

void columnsOut(const double* block, const OwnFourierTable<double>& table, double* re, double* im, ptrdiff_t step)
{
    auto* x = reinterpret_cast<const DoubleVector*>(block);
    for (ptrdiff_t e = 0; e < table.length; ++e) {
        put(re + e * step, x[2 * e]);
        put(im + e * step, x[2 * e + 1]);
    }
}

}  // namespace

extern const OwnFourierPlaneKernels ownFourierPlaneKernels = {lanes, rowsIn, rowsOut, columnsIn, columnsOut};

}  // namespace OWN_ISA
