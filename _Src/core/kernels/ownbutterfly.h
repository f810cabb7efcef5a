// Transforms of a few complex values that are held in registers, the steps that longer ones are made of. For kernel
// sources only.
//
//   dft<N, T>(x)   x(k) becomes the sum over n of x(n) exp(-2 pi i k n / N); T is the type of the single values
//
// Composite lengths are made of their factors: with turns between them (J. W. Cooley and J. W. Tukey, "An algorithm for
// the machine calculation of complex Fourier series", Math. Comp. 19, 1965), or without any where the factors have no
// divisor in common (I. J. Good, "The interaction algorithm and practical Fourier analysis", J. Roy. Statist. Soc. B
// 20, 1958).
#pragma once

#include <utility>

#include "owncomplex.h"

// A butterfly is one function with all that it calls; but not for the sanitizers, which take minutes over such
// functions.
#if defined(__SANITIZE_ADDRESS__)
#define OWN_WHOLE
#else
#define OWN_WHOLE __attribute__((always_inline))
#endif

namespace OWN_ISA {
namespace {

// Calls body(i) for i below N, each time with a constant.
template <int N, class Body>
OWN_WHOLE inline void unrolled(Body body)
{
    [&]<int... i>(std::integer_sequence<int, i...>) OWN_WHOLE
    {
        (body(std::integral_constant<int, i>{}), ...);
    }
    (std::make_integer_sequence<int, N>{});
}

// ---- Roots of unity -------------------------------------------------------------------------------------------------

// The series of the sine (first 1) or the cosine (first 0).
constexpr long double series(long double x, int first)
{
    long double term = first == 0 ? 1 : x, sum = 0;
    for (int n = first; n < 30; n += 2) {
        sum += term;
        term *= -x * x / ((n + 1) * (n + 2));
    }
    return sum;
}

// The cosine of j / n turns.
constexpr double cosine(int j, int n)
{
    constexpr long double pi = 3.14159265358979323846264338327950288L;
    int eighths = 8 * (j % n);
    eighths = eighths > 4 * n ? 8 * n - eighths : eighths;
    bool isNegative = eighths > 2 * n;
    eighths = isNegative ? 4 * n - eighths : eighths;
    long double value = eighths > n ? series((2 * n - eighths) * pi / (4 * n), 1) : series(eighths * pi / (4 * n), 0);
    return double(isNegative ? -value : value);
}

constexpr double sine(int j, int n)
{
    return cosine(4 * j + 3 * n, 4 * n);
}

// Times exp(-2 pi i j / n).
template <int j, int n, class T, class V>
OWN_WHOLE inline Complex<V> turned(Complex<V> a)
{
    if constexpr (j == 0) {
        return a;
    } else if constexpr (4 * j >= n) {
        return turned<4 * j - n, 4 * n, T>(quarterTurn(a));
    } else if constexpr (8 * j == n) {
        constexpr T root = T(cosine(1, 8));
        return {(a.re + a.im) * root, (a.im - a.re) * root};
    } else {
        constexpr T c = T(cosine(j, n)), s = T(sine(j, n));
        return {a.re * c + a.im * s, a.im * c - a.re * s};
    }
}

// ---- Butterflies ----------------------------------------------------------------------------------------------------

// Odd lengths by symmetry: values equally far from both ends meet the same cosine, and sines of opposite sign.
template <int N, class T, class V>
OWN_WHOLE inline void oddDft(Complex<V> (&x)[N])
{
    constexpr int half = N / 2;
    Complex<V> sum[half], difference[half];
    const Complex<V> first = x[0];
    unrolled<half>([&](auto n) OWN_WHOLE {
        sum[n] = x[n + 1] + x[N - 1 - n];
        difference[n] = quarterTurn(x[n + 1] - x[N - 1 - n]);
        x[0] = x[0] + sum[n];
    });
    unrolled<half>([&](auto m) OWN_WHOLE {
        constexpr int k = m + 1;
        Complex<V> even = first, turn;
        unrolled<half>([&](auto n) OWN_WHOLE {
            constexpr T c = T(cosine(k * (n + 1), N)), s = T(sine(k * (n + 1), N));
            even = Complex<V>{even.re + sum[n].re * c, even.im + sum[n].im * c};
            if constexpr (n == 0)
                turn = Complex<V>{difference[n].re * s, difference[n].im * s};
            else
                turn = Complex<V>{turn.re + difference[n].re * s, turn.im + difference[n].im * s};
        });
        x[k] = even + turn;
        x[N - k] = even - turn;
    });
}

template <int N, class T, class V>
OWN_WHOLE inline void dft(Complex<V> (&x)[N]);

constexpr bool areCoprime(int a, int b)
{
    return b == 0 ? a == 1 : areCoprime(b, a % b);
}

// The result that has these remainders after division by A and by B.
constexpr int remaining(int a, int A, int b, int B)
{
    int k = 0;
    while (k % A != a || k % B != b)
        ++k;
    return k;
}

// B transforms of A values, turns unless the factors are coprime, and A transforms of B values. Without turns values
// are counted along both factors at once, and results by their remainders.
template <int A, int B, class T, class V>
OWN_WHOLE inline void compositeDft(Complex<V> (&x)[A * B])
{
    constexpr int N = A * B;
    constexpr bool isCoprime = areCoprime(A, B);
    Complex<V> rows[A][B];
    unrolled<B>([&](auto b) OWN_WHOLE {
        Complex<V> column[A];
        unrolled<A>([&](auto a) OWN_WHOLE { column[a] = x[isCoprime ? (B * a + A * b) % N : B * a + b]; });
        dft<A, T>(column);
        unrolled<A>([&](auto a) OWN_WHOLE { rows[a][b] = turned < isCoprime ? 0 : a * b, N, T > (column[a]); });
    });
    unrolled<A>([&](auto a) OWN_WHOLE {
        dft<B, T>(rows[a]);
        unrolled<B>([&](auto b) OWN_WHOLE {
            constexpr int k = isCoprime ? remaining(a, A, b, B) : a + A * b;
            x[k] = rows[a][b];
        });
    });
}

template <int N, class T, class V>
OWN_WHOLE inline void dft(Complex<V> (&x)[N])
{
    if constexpr (N == 2) {
        Complex<V> sum = x[0] + x[1];
        x[1] = x[0] - x[1];
        x[0] = sum;
    } else if constexpr (N == 4 || N == 6 || N == 8 || N == 10) {
        compositeDft<2, N / 2, T>(x);
    } else if constexpr (N == 9 || N == 15) {
        compositeDft<3, N / 3, T>(x);
    } else if constexpr (N == 12 || N == 16) {
        compositeDft<4, N / 4, T>(x);
    } else {
        oddDft<N, T>(x);
    }
}

}  // namespace
}  // namespace OWN_ISA
