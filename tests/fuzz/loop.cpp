// Feeds a fuzz target with random inputs for some seconds, where there is no libFuzzer. What it found can be had again
// by the seed that it tells.
//
//   fuzz_dib [seconds [seed]]
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <random>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

int main(int argc, char** argv)
{
    using Clock = std::chrono::steady_clock;
    auto end = Clock::now() + std::chrono::seconds(argc > 1 ? atoi(argv[1]) : 60);
    uint64_t seed = argc > 2 ? strtoull(argv[2], nullptr, 10) : uint64_t(Clock::now().time_since_epoch().count());
    printf("seed %llu\n", static_cast<unsigned long long>(seed));
    fflush(stdout);
    std::mt19937_64 random(seed);
    std::vector<uint8_t> input;
    long runs = 0;
    for (; Clock::now() < end; ++runs) {
        input.resize(random() % (random() % 4 ? 200 : 3000));
        int calm = int(random() % 4);  // small values and repetitions make better codes than noise
        for (size_t i = 0; i < input.size(); ++i) {
            uint64_t bits = random();
            input[i] = i > 40 && int(bits >> 32 & 3) < calm ? uint8_t(bits % 4) : uint8_t(bits);
        }
        LLVMFuzzerTestOneInput(input.data(), input.size());
    }
    printf("%ld inputs\n", runs);
    return 0;
}
