// The bytes of an input choose the steps of a sequence of calls to a handler. Each step is compared with a model.

#include "Fuzzing.h"
#include "HandlerSequence.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::uint8_t* next = data;
    const std::uint8_t* const end = data + size;
    HandlerSequence sequence([&](int bound) { return next == end ? 0 : *next++ % bound; }, workFolder());
    QStringList calls;
    while (next != end) {
        const QStringList differences = sequence.step();
        calls << sequence.lastCall();
        endIfDifferent(differences, calls);
    }
    return 0;
}
