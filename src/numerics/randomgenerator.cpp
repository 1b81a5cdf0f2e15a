#include "numerics/randomgenerator.h"

#include <algorithm>
#include <cmath>

#include "numerics/exception.h"
#include "numerics/recommendedrandomengine.h"

namespace vorlen {

RandomGenerator::RandomGenerator() : __engine(std::make_unique<RecommendedRandomEngine>()) {
    init(-1);
}

void RandomGenerator::setRandomEngine(RandomEngine* engine) {
    if (!engine)
        throw UsageError("void RandomGenerator::setRandomEngine(RandomEngine*)", "The engine is missing");
    __engine.reset(engine);
    __isPending = false;
}

long RandomGenerator::init(long seed) {
    __isPending = false;
    return __engine->init(seed);
}

long RandomGenerator::uniformL() {
    return __engine->uniformL();
}

long RandomGenerator::uniformL(long n) {
    const long x = static_cast<long>(uniformLF() * static_cast<double>(n));
    return n > 0 ? std::min(x, n - 1) : x;
}

long RandomGenerator::uniformL(long a, long b) {
    return uniformL(b - a + 1) + a;
}

double RandomGenerator::uniformLF() {
    return __engine->uniformLF();
}

double RandomGenerator::uniformLF(double x) {
    return uniformLF() * x;
}

double RandomGenerator::uniformLF(double a, double b) {
    return uniformLF(b - a) + a;
}

double RandomGenerator::gaussian() {
    if (__isPending) {
        __isPending = false;
        return __pending;
    }
    double a = 0;
    double b = 0;
    double r = 0;
    do {
        a = uniformLF(-1, 1);
        b = uniformLF(-1, 1);
        r = a * a + b * b;
    } while (r >= 1 || r == 0);
    const double f = std::sqrt(-2 * std::log(r) / r);
    __pending = a * f;
    __isPending = true;
    return b * f;
}

double RandomGenerator::gaussian(double sigma) {
    return gaussian() * sigma;
}

double RandomGenerator::gaussian(double mean, double sigma) {
    return gaussian(sigma) + mean;
}

int RandomGenerator::poisson(float mean) {
    const double l = std::exp(-static_cast<double>(mean));
    int k = 0;
    for (double p = uniformLF(); p > l; p *= uniformLF())
        ++k;
    return k;
}

int RandomGenerator::draw(const Vector<unsigned int>& weights) {
    if (weights.getSize() == 0)
        throw SizeError("int RandomGenerator::draw(const Vector<unsigned int>&)", "This vector is empty.");
    long total = 0;
    for (const unsigned int weight : weights)
        total += weight;
    if (total < 1)
        return static_cast<int>(uniformL(weights.getSize()));
    long remaining = uniformL(1, total);
    int i = 0;
    while (remaining > static_cast<long>(weights[i]))
        remaining -= weights[i++];
    return i;
}

} // namespace vorlen
