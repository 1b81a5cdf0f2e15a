#include "cli/interruption.h"

#include <cstddef>
#include <cstdlib>

#include "progress/progresssubject.h"

namespace vorlen {

namespace {

constexpr std::array<int, 3> signalNumbers = {SIGINT, SIGTERM, SIGHUP};
volatile std::sig_atomic_t signalThatCame = 0;

void note(int number) {
    signalThatCame = number;
}

} // namespace

Interruption::Interruption() {
    signalThatCame = 0;
    struct sigaction action = {};
    action.sa_handler = note;
    action.sa_flags = static_cast<int>(SA_RESETHAND | unsigned(SA_RESTART));
    for (std::size_t i = 0; i < signalNumbers.size(); ++i) {
        ::sigaction(signalNumbers[i], nullptr, &__before[i]);
        if (__before[i].sa_handler != SIG_IGN) // as of a program that runs on when its terminal is gone
            ::sigaction(signalNumbers[i], &action, nullptr);
    }
}

Interruption::~Interruption() {
    restore();
}

void Interruption::restore() {
    for (std::size_t i = 0; i < signalNumbers.size(); ++i)
        ::sigaction(signalNumbers[i], &__before[i], nullptr);
}

bool Interruption::hasCome() const {
    return signalThatCame != 0;
}

void Interruption::end() {
    restore();
    std::raise(signalThatCame);
    std::_Exit(128 + signalThatCame); // where the signal does nothing by itself
}

void Interruption::subjectProgressed(const std::string&) {
    if (hasCome())
        currentSubject()->cancel();
}

void Interruption::subjectProgressed(unsigned int, unsigned int) {
    if (hasCome())
        currentSubject()->cancel();
}

} // namespace vorlen
