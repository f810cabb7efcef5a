// The catalogue of wavelet filter banks: constants, made at compile time from each family's published low-pass taps.
//
// Orthonormal families are entered with unit energy, in their published order:
//
//   Daubechies, Symlets, Coiflets   I. Daubechies, "Ten Lectures on Wavelets" (SIAM, 1992), tables 6.1, 6.3 and 8.1
//   Coiflet of order 1              G. Beylkin, R. Coifman and V. Rokhlin, "Fast wavelet transforms and numerical
//                                   algorithms I", Comm. Pure Appl. Math. 44 (1991)
//   24 taps                         P. P. Vaidyanathan and P.-Q. Hoang, "Lattice structures for optimal design
//                                   and robust implementation of two-channel perfect-reconstruction
//                                   QMF banks", IEEE Trans. ASSP-36 (1988)
//
// B-spline pairs are computed: A. Cohen, I. Daubechies and J.-C. Feauveau, "Biorthogonal bases of compactly supported
// wavelets", Comm. Pure Appl. Math. 45 (1992).
#include "ownwtfilters.h"

namespace {

// ---- Low-pass taps --------------------------------------------------------------------------------------------------

// Daubechies: the shortest filters with as many vanishing moments as their order, all zeros inside the unit circle.
constexpr double daubechies1[] = {
    0.70710678118654757,
    0.70710678118654757,
};
constexpr double daubechies2[] = {
    0.48296291314453416,
    0.83651630373780794,
    0.22414386804201339,
    -0.12940952255126037,
};
constexpr double daubechies3[] = {
    0.33267055295008263,  0.80689150931109255,  0.45987750211849154,
    -0.13501102001025458, -0.08544127388202666, 0.03522629188570953,
};
constexpr double daubechies4[] = {
    0.23037781330889651,  0.71484657055291567, 0.63088076792985892, -0.02798376941685985,
    -0.18703481171909309, 0.03084138183556076, 0.03288301166688520, -0.01059740178506903,
};
constexpr double daubechies5[] = {
    0.16010239797419293,  0.60382926979718965, 0.72430852843777294,  0.13842814590132074,  -0.24229488706638203,
    -0.03224486958463837, 0.07757149384004572, -0.00624149021279827, -0.01258075199908200, 0.00333572528547377,
};
constexpr double daubechies6[] = {
    0.11154074335010947,  0.49462389039845306,  0.75113390802109536, 0.31525035170919763,
    -0.22626469396543983, -0.12976686756726194, 0.09750160558732304, 0.02752286553030573,
    -0.03158203931748603, 0.00055384220116150,  0.00477725751094551, -0.00107730108530848,
};
constexpr double daubechies7[] = {
    0.07785205408500918,  0.39653931948191729, 0.72913209084623509,  0.46978228740519312,  -0.14390600392856498,
    -0.22403618499387498, 0.07130921926683026, 0.08061260915108308,  -0.03802993693501441, -0.01657454163066688,
    0.01255099855609984,  0.00042957797292137, -0.00180164070404749, 0.00035371379997452,
};
constexpr double daubechies8[] = {
    0.05441584224310401,  0.31287159091429995,  0.67563073629728976, 0.58535468365420673,
    -0.01582910525634931, -0.28401554296154691, 0.00047248457391328, 0.12874742662047847,
    -0.01736930100180755, -0.04408825393079475, 0.01398102791739828, 0.00874609404740578,
    -0.00487035299345157, -0.00039174037337695, 0.00067544940645057, -0.00011747678412477,
};
constexpr double daubechies9[] = {
    0.03807794736387834,  0.24383467461259034,  0.60482312369011115,  0.65728807805130052,  0.13319738582500756,
    -0.29327378327917492, -0.09684078322297646, 0.14854074933810638,  0.03072568147933338,  -0.06763282906132997,
    0.00025094711483145,  0.02236166212367910,  -0.00472320475775140, -0.00428150368246343, 0.00184764688305623,
    0.00023038576352320,  -0.00025196318894271, 0.00003934732031627,
};
constexpr double daubechies10[] = {
    0.02667005790055555,  0.18817680007769150,  0.52720118893172563,  0.68845903945360354,  0.28117234366057747,
    -0.24984642432731538, -0.19594627437737705, 0.12736934033579325,  0.09305736460357235,  -0.07139414716639708,
    -0.02945753682187581, 0.03321267405934100,  0.00360655356695617,  -0.01073317548333057, 0.00139535174705290,
    0.00199240529518506,  -0.00068585669495971, -0.00011646685512929, 0.00009358867032007,  -0.00001326420289452,
};

// Symlets: the same, with the zeros that come closest to a linear phase.
constexpr double symlet4[] = {
    -0.07576571478950221, -0.02963552764600249, 0.49761866763277501,  0.80373875180513210,
    0.29785779560530606,  -0.09921954357663353, -0.01260396726203130, 0.03222310060405147,
};
constexpr double symlet5[] = {
    0.02733306834499877, 0.02951949092570626, -0.03913424930231384, 0.19939753397685558,  0.72340769040404074,
    0.63397896345679206, 0.01660210576451085, -0.17532808990805623, -0.02110183402468904, 0.01953888273524983,
};
constexpr double symlet6[] = {
    0.01540410932704482,  0.00349071208422216, -0.11799011114852002, -0.04831174258569806,
    0.49105594192797375,  0.78764114102865102, 0.33792942172816581,  -0.07263752278637658,
    -0.02106029251237085, 0.04472490177078139, 0.00176771186425401,  -0.00780070832503238,
};
constexpr double symlet7[] = {
    0.00268181456826015,  -0.00104738488867974, -0.01263630340324057, 0.03051551316587789, 0.06789269350122057,
    -0.04955283493704283, 0.01744125508683571,  0.53610191709056920,  0.76776431700488290, 0.28862963175064787,
    -0.14004724044293365, -0.10780823770328972, 0.00401024487152240,  0.01026817670846482,
};
constexpr double symlet8[] = {
    0.00188995033276769, -0.00030292051472413, -0.01495225833706220, 0.00380875201389449,
    0.04913717967373029, -0.02721902991710349, -0.05194583810788180, 0.36444189483617895,
    0.77718575169962800, 0.48135965125905339,  -0.06127335906781108, -0.14329423835127267,
    0.00760748732497661, 0.03169508781152599,  -0.00054213233180001, -0.00338241595100500,
};
constexpr double symlet9[] = {
    0.00106949003290861,  -0.00047315449868004, -0.01026406402763312, 0.00885926749340027, 0.06207778930288575,
    -0.01823377077939551, -0.19155083129728434, 0.03527248803527104,  0.61733844914093416, 0.71789708276441244,
    0.23876091460730517,  -0.05456895843083335, 0.00058346274612498,  0.03022487885827519, -0.01152821020767919,
    -0.01327196778181713, 0.00061978088898551,  0.00140091552591466,
};
constexpr double symlet10[] = {
    0.00077015980911446,  0.00009563267072285,  -0.00864129927702215, -0.00146538258130461, 0.04592723923109151,
    0.01160989390371132,  -0.15949427888491061, -0.07088053578323157, 0.47169066693844292,  0.76951003702109788,
    0.38382676106707631,  -0.03553674047381958, -0.03199005688242811, 0.04999497207737515,  0.00576491203358115,
    -0.02035493981231111, -0.00080435893201645, 0.00459317358531179,  0.00005703608361850,  -0.00045932942100465,
};

// Coiflets: both functions have vanishing moments, the scaling function about its largest tap. There are two of six
// taps, of which this one has that tap at its offset. Those of orders 4 and 5 have the digits that were published:
// their equations are so flat that more exact solutions differ in the eighth and in the fifth place.
constexpr double coiflet1[] = {
    0.03858077774788675, -0.12696912539620519, -0.07716155549577350,
    0.60749164138568414, 0.74568755893443427,  0.22658426519706857,
};
constexpr double coiflet2[] = {
    0.01638733646320364, -0.04146493678687178, -0.06737255472372559, 0.38611006682276283,
    0.81272363544941351, 0.41700518442323903,  -0.07648859907828076, -0.05943441864643109,
    0.02368017194684777, 0.00561143481936883,  -0.00182320887091103, -0.00072054944552035,
};
constexpr double coiflet3[] = {
    -0.00379351286438080, 0.00778259642567275,  0.02345269614207716,  -0.06577191128146936, -0.06112339000297254,
    0.40517690240911819,  0.79377722262608719,  0.42848347637737000,  -0.07179982161915484, -0.08230192710629981,
    0.03455502757329773,  0.01588054486366945,  -0.00900797613673062, -0.00257451768813680, 0.00111751877083063,
    0.00046621695982040,  -0.00007098330250638, -0.00003459977319727,
};
constexpr double coiflet4[] = {
    0.0008923136685823,  -0.0016294920126017, -0.0073461663276420, 0.0160689439647763,  0.0266823001560530,
    -0.0812666996808919, -0.0560773133167630, 0.4153084070304910,  0.7822389309206135,  0.4343860564914685,
    -0.0666274742634348, -0.0962204420338634, 0.0393344271233433,  0.0250822618448641,  -0.0152117315279434,
    -0.0056582866866115, 0.0037514361572790,  0.0012665619292991,  -0.0005890207562444, -0.0002599745524878,
    0.0000623390344610,  0.0000312298758654,  -0.0000032596802368, -0.0000017849850031,
};
constexpr double coiflet5[] = {
    -0.0002120808398259, 0.0003585896879330,  0.0021782363581355,  -0.0041593587818186, -0.0101311175209033,
    0.0234081567882734,  0.0281680289738655,  -0.0919200105692549, -0.0520431631816557, 0.4215662067346898,
    0.7742896037334738,  0.4379916262173834,  -0.0620359639693546, -0.1055742087143175, 0.0412892087544753,
    0.0326835742705106,  -0.0197617789446276, -0.0091642311634348, 0.0067641854487565,  0.0024333732129107,
    -0.0016628637021860, -0.0006381313431115, 0.0003022595818445,  0.0001405411497166,  -0.0000413404322768,
    -0.0000213150268122, 0.0000037346551755,  0.0000020637618516,  -0.0000001674428858, -0.0000000951765727,
};

constexpr double vaidyanathan[] = {
    -0.000062906118, 0.000343631905,  -0.000453956620, -0.000944897136, 0.002843834547,  0.000708137504,
    -0.008839103409, 0.003153847056,  0.019687215010,  -0.014853448005, -0.035470398607, 0.038742619293,
    0.055892523691,  -0.077709750902, -0.083928884366, 0.131971661417,  0.135084227129,  -0.194450471766,
    -0.263494802488, 0.201612161775,  0.635601059872,  0.572797793211,  0.250184129505,  0.045799334111,
};

// ---- Banks ----------------------------------------------------------------------------------------------------------

// The taps of a bank: two of the filters have A taps and two have B.
template <int A, int B>
struct Bank {
    float decLow[A];
    float decHigh[B];
    float recLow[B];
    float recHigh[A];
};

// High-pass filters are the other side's low-pass ones with alternating signs, which cancels what the two channels
// alias.
template <int A, int B>
constexpr Bank<A, B> bankOf(const double (&decLow)[A], const double (&recLow)[B])
{
    Bank<A, B> bank = {};
    for (int k = 0; k < A; ++k) {
        bank.decLow[k] = float(decLow[k]);
        bank.recHigh[k] = float((k % 2 ? 2.0 : -2.0) * decLow[k]);
    }
    for (int k = 0; k < B; ++k) {
        bank.recLow[k] = float(recLow[k]);
        bank.decHigh[k] = float((k % 2 ? -0.5 : 0.5) * recLow[k]);
    }
    return bank;
}

template <int L>
constexpr Bank<L, L> orthonormal(const double (&taps)[L])
{
    constexpr double root = 1.4142135623730951;
    double decLow[L] = {};
    double recLow[L] = {};
    for (int k = 0; k < L; ++k) {
        decLow[k] = taps[k] / root;
        recLow[L - 1 - k] = taps[k] * root;
    }
    return bankOf(decLow, recLow);
}

constexpr double binomial(int n, int k)
{
    double value = 1;
    for (int i = 1; i <= k; ++i)
        value = value * (n - k + i) / i;
    return value;
}

// Adds factor * z^shift * (1 + z)^plus * (1 - z)^minus to the coefficients in `sum`.
template <int N>
constexpr void addProduct(double (&sum)[N], double factor, int shift, int plus, int minus)
{
    for (int i = 0; i <= plus; ++i)
        for (int j = 0; j <= minus; ++j)
            sum[shift + i + j] += factor * binomial(plus, i) * binomial(minus, j) * (j % 2 ? -1 : 1);
}

// The B-spline with p + 1 taps and its dual with q vanishing moments. Their product is the half-band filter of p + q
// zeros at -1, of which each has its share.
template <int P, int Q>
constexpr Bank<P + 1, P + 2 * Q - 1> spline()
{
    constexpr int half = (P + Q) / 2;
    double decLow[P + 1] = {};
    double recLow[P + 2 * Q - 1] = {};
    addProduct(decLow, 1.0 / (1 << P), 0, P, 0);
    double factor = 2.0 / (1 << Q);
    for (int n = 0; n < half; ++n) {
        addProduct(recLow, factor * binomial(half - 1 + n, n), half - 1 - n, Q, 2 * n);
        factor *= -0.25;
    }
    return bankOf(decLow, recLow);
}

template <int A, int B>
constexpr Bank<B, A> exchange(const Bank<A, B>& bank)
{
    Bank<B, A> exchanged = {};
    for (int k = 0; k < B; ++k) {
        exchanged.decLow[k] = bank.recLow[k] * 0.5f;
        exchanged.recHigh[k] = bank.decHigh[k] * -2.0f;
    }
    for (int k = 0; k < A; ++k) {
        exchanged.decHigh[k] = bank.recHigh[k] * -0.5f;
        exchanged.recLow[k] = bank.decLow[k] * 2.0f;
    }
    return exchanged;
}

template <auto& taps>
constexpr auto orthonormalBank = orthonormal(taps);
template <int P, int Q>
constexpr auto splineBank = spline<P, Q>();
template <int P, int Q>
constexpr auto exchangedBank = exchange(splineBank<P, Q>);

// ---- Kernels --------------------------------------------------------------------------------------------------------

enum Symmetry { symmetric, antisymmetric, asymmetric };
enum Orthogonality { orthonormalKind, biorthogonalKind };

struct Offsets {
    int32_t decLow, decHigh, recLow, recHigh;
};

template <int L>
constexpr OrvWtFilter filterOf(const float (&taps)[L], int32_t offset, Symmetry symmetry)
{
    // The public record has no const, since it serves the taps of applications too.
    return {const_cast<float*>(taps), L, offset, symmetry};
}

template <int A, int B>
constexpr OrvWtKernel kernelOf(int32_t wtType, int32_t par1, int32_t par2, Orthogonality orthogonality,
                               const Bank<A, B>& bank, Offsets offset, Symmetry low, Symmetry high)
{
    return {wtType,
            par1,
            par2,
            orthogonality,
            filterOf(bank.decLow, offset.decLow, low),
            filterOf(bank.decHigh, offset.decHigh, high),
            filterOf(bank.recLow, offset.recLow, low),
            filterOf(bank.recHigh, offset.recHigh, high)};
}

template <auto& taps>
constexpr OrvWtKernel orthonormalKernel(int32_t wtType, int32_t par1, Offsets offset, Symmetry low = asymmetric,
                                        Symmetry high = asymmetric)
{
    return kernelOf(wtType, par1, 0, orthonormalKind, orthonormalBank<taps>, offset, low, high);
}

template <int P, int Q>
constexpr OrvWtKernel splineKernel(int32_t wtType = ORV_WT_BSPLINE, int32_t par1 = P, int32_t par2 = Q)
{
    constexpr int32_t low = P / 2;
    constexpr int32_t high = P == 3 ? Q : Q - 1;
    return kernelOf(wtType, par1, par2, biorthogonalKind, splineBank<P, Q>, {low, high, high + 1, low + 1}, symmetric,
                    P % 2 ? antisymmetric : symmetric);
}

template <int P, int Q>
constexpr OrvWtKernel exchangedKernel()
{
    constexpr OrvWtKernel kernel = splineKernel<P, Q>();
    return kernelOf(
        ORV_WT_BSPLINE_DUAL, P, Q, biorthogonalKind, exchangedBank<P, Q>,
        {kernel.filtDecHigh.offset, kernel.filtDecLow.offset, kernel.filtRecHigh.offset, kernel.filtRecLow.offset},
        symmetric, P % 2 ? antisymmetric : symmetric);
}

constexpr Offsets haarOffsets = {1, 1, 0, 0};

constexpr OrvWtKernel haar = orthonormalKernel<daubechies1>(ORV_WT_HAAR, 0, haarOffsets, symmetric, antisymmetric);

constexpr OrvWtKernel daubechies[10] = {
    orthonormalKernel<daubechies1>(ORV_WT_DAUBECHIES, 1, haarOffsets, symmetric, antisymmetric),
    orthonormalKernel<daubechies2>(ORV_WT_DAUBECHIES, 2, {1, 3, 2, 0}),
    orthonormalKernel<daubechies3>(ORV_WT_DAUBECHIES, 3, {1, 3, 4, 2}),
    orthonormalKernel<daubechies4>(ORV_WT_DAUBECHIES, 4, {1, 5, 6, 2}),
    orthonormalKernel<daubechies5>(ORV_WT_DAUBECHIES, 5, {2, 8, 7, 1}),
    orthonormalKernel<daubechies6>(ORV_WT_DAUBECHIES, 6, {2, 10, 9, 1}),
    orthonormalKernel<daubechies7>(ORV_WT_DAUBECHIES, 7, {2, 10, 11, 3}),
    orthonormalKernel<daubechies8>(ORV_WT_DAUBECHIES, 8, {2, 12, 13, 3}),
    orthonormalKernel<daubechies9>(ORV_WT_DAUBECHIES, 9, {3, 15, 14, 2}),
    orthonormalKernel<daubechies10>(ORV_WT_DAUBECHIES, 10, {3, 17, 16, 2}),
};

constexpr OrvWtKernel symlets[7] = {
    orthonormalKernel<symlet4>(ORV_WT_SYMLET, 1, {3, 5, 4, 2}),
    orthonormalKernel<symlet5>(ORV_WT_SYMLET, 2, {4, 4, 5, 5}),
    orthonormalKernel<symlet6>(ORV_WT_SYMLET, 3, {5, 7, 6, 4}),
    orthonormalKernel<symlet7>(ORV_WT_SYMLET, 4, {8, 6, 5, 7}),
    orthonormalKernel<symlet8>(ORV_WT_SYMLET, 5, {8, 6, 7, 9}),
    orthonormalKernel<symlet9>(ORV_WT_SYMLET, 6, {9, 9, 8, 8}),
    orthonormalKernel<symlet10>(ORV_WT_SYMLET, 7, {9, 11, 10, 8}),
};

constexpr OrvWtKernel coiflets[5] = {
    orthonormalKernel<coiflet1>(ORV_WT_COIFLET, 1, {4, 2, 1, 3}),
    orthonormalKernel<coiflet2>(ORV_WT_COIFLET, 2, {4, 6, 7, 5}),
    orthonormalKernel<coiflet3>(ORV_WT_COIFLET, 3, {6, 10, 11, 7}),
    orthonormalKernel<coiflet4>(ORV_WT_COIFLET, 4, {8, 14, 15, 9}),
    orthonormalKernel<coiflet5>(ORV_WT_COIFLET, 5, {10, 18, 19, 11}),
};

constexpr OrvWtKernel vaidyanathan24 = orthonormalKernel<vaidyanathan>(ORV_WT_VAIDYANATHAN, 0, {20, 2, 3, 21});

constexpr OrvWtKernel splines[] = {
    splineKernel<1, 1>(), splineKernel<1, 3>(), splineKernel<1, 5>(), splineKernel<2, 2>(),
    splineKernel<2, 4>(), splineKernel<2, 6>(), splineKernel<2, 8>(), splineKernel<3, 1>(),
    splineKernel<3, 3>(), splineKernel<3, 5>(), splineKernel<3, 7>(), splineKernel<3, 9>(),
};

constexpr OrvWtKernel exchangedSplines[] = {
    exchangedKernel<1, 1>(), exchangedKernel<1, 3>(), exchangedKernel<1, 5>(), exchangedKernel<2, 2>(),
    exchangedKernel<2, 4>(), exchangedKernel<2, 6>(), exchangedKernel<2, 8>(), exchangedKernel<3, 1>(),
    exchangedKernel<3, 3>(), exchangedKernel<3, 5>(), exchangedKernel<3, 7>(), exchangedKernel<3, 9>(),
};

constexpr OrvWtKernel linearSpline = splineKernel<2, 2>(ORV_WT_LINEAR_SPLINE, 0, 0);
constexpr OrvWtKernel quadraticSpline = splineKernel<3, 3>(ORV_WT_QUADRATIC_SPLINE, 0, 0);

template <int N>
const OrvWtKernel* findOrder(const OwnReport& report, const OrvWtKernel (&family)[N], int32_t par1)
{
    if (report.when(par1 < 1 || par1 > N, ORV_STATUS_BAD_ARG, "Bad par1   value."))
        return nullptr;
    return &family[par1 - 1];
}

template <int N>
const OrvWtKernel* findPair(const OwnReport& report, const OrvWtKernel (&family)[N], int32_t par1, int32_t par2)
{
    if (report.when(par1 < 1 || par1 > 3, ORV_STATUS_BAD_ARG, "Bad par1   value."))
        return nullptr;
    const OrvWtKernel* found = nullptr;
    for (const OrvWtKernel& kernel : family)
        if (kernel.par1 == par1 && kernel.par2 == par2)
            found = &kernel;
    if (report.when(!found, ORV_STATUS_BAD_ARG, "Bad par2   value."))
        return nullptr;
    return found;
}

}  // namespace

const OrvWtKernel* ownWtCatalogueKernel(const OwnReport& report, int32_t wtType, int32_t par1, int32_t par2)
{
    if (report.when(wtType < ORV_WT_HAAR || wtType > ORV_WT_QUADRATIC_SPLINE, ORV_STATUS_BAD_ARG, "Bad wtType value."))
        return nullptr;
    switch (wtType) {
    case ORV_WT_HAAR: return &haar;
    case ORV_WT_DAUBECHIES: return findOrder(report, daubechies, par1);
    case ORV_WT_SYMLET: return findOrder(report, symlets, par1);
    case ORV_WT_COIFLET: return findOrder(report, coiflets, par1);
    case ORV_WT_VAIDYANATHAN: return &vaidyanathan24;
    case ORV_WT_BSPLINE: return findPair(report, splines, par1, par2);
    case ORV_WT_BSPLINE_DUAL: return findPair(report, exchangedSplines, par1, par2);
    case ORV_WT_LINEAR_SPLINE: return &linearSpline;
    default: return &quadraticSpline;
    }
}
