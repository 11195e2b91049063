// Random sequences of every call on a component, three formats that link to each other, and a client's processor, beside
// a model of what they come to.
#include <chrono>
#include <random>

#include "tests/formats/world.h"

namespace talvo::test {
namespace {

Ops RandomOps(unsigned seed) {
    std::vector<unsigned> weights;
    for (const auto& kind : World::Kinds()) weights.push_back(kind.Weight);
    std::mt19937 random(seed);
    std::discrete_distribution<size_t> call(weights.begin(), weights.end());
    Ops ops(70);
    for (Op& op : ops) {
        op.Call = call(random);
        for (unsigned* part : {&op.A, &op.B, &op.C, &op.D}) *part = static_cast<unsigned>(random());
    }
    return ops;
}

// Empty when model and objects agree all the way, and nothing is left.
std::string Play(unsigned seed, const Ops& ops) {
    {
        World world(seed);
        for (const Op& op : ops) {
            if (std::string wrong = world.Do(op); !wrong.empty()) return wrong;
        }
    }
    SetErrorInfo(0, nullptr);
    return Module::Get().CanUnload() ? "" : "an object outlives the sequence";
}

TEST(Sequences, AnswerAsTheModelDoes) {
    constexpr unsigned kSequences = 500;
    constexpr unsigned kLeast = 60;  // where a sequence takes long
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(4);
    unsigned seed = 0;
    size_t calls = 0;
    for (; seed < kSequences && (seed < kLeast || std::chrono::steady_clock::now() < end); ++seed) {
        const Ops ops = RandomOps(seed);
        calls += ops.size();
        ASSERT_EQ(Play(seed, ops), "") << "seed " << seed;
    }
    std::printf("  %u sequences, %zu calls\n", seed, calls);
}

}  // namespace
}  // namespace talvo::test
