// Counts the allocations of the whole test program through its own operator new.

#include <cstdlib>
#include <new>

#include <gtest/gtest.h>

#include "numerics/vector.h"
#include "support/vectors.h"

namespace {

thread_local long numAllocations = 0;

} // namespace

void* operator new(std::size_t size) {
    ++numAllocations;
    if (void* memory = std::malloc(size > 0 ? size : 1))
        return memory;
    throw std::bad_alloc();
}

void* operator new[](std::size_t size) {
    return operator new(size);
}

// The standard library's temporary buffers come this way and are given back by the plain delete.
void* operator new(std::size_t size, const std::nothrow_t&) noexcept {
    ++numAllocations;
    return std::malloc(size > 0 ? size : 1);
}

void* operator new[](std::size_t size, const std::nothrow_t&) noexcept {
    return operator new(size, std::nothrow);
}

// Not inlined, or gcc warns that what its new gives is freed otherwise.
[[gnu::noinline]] void operator delete(void* memory) noexcept {
    std::free(memory);
}

[[gnu::noinline]] void operator delete[](void* memory) noexcept {
    std::free(memory);
}

[[gnu::noinline]] void operator delete(void* memory, std::size_t) noexcept {
    std::free(memory);
}

[[gnu::noinline]] void operator delete[](void* memory, std::size_t) noexcept {
    std::free(memory);
}

namespace vorlen {

namespace {

template <class Operation>
long allocationsOf(Operation operation) {
    const long before = numAllocations;
    operation();
    return numAllocations - before;
}

} // namespace

TEST(VectorAllocation, upToFourElementsNeedNone) {
    double total = 0;
    EXPECT_EQ(0, allocationsOf([&total] {
                  for (unsigned int n = 0; n <= 4; ++n) {
                      Vector<double> a(n);
                      a.setOnes();
                      Vector<double> b(a);
                      Vector<double> c = a + b;
                      c -= b * 0.5;
                      c = (c - a).pointwiseProduct(b);
                      c.swap(a);
                      b = std::move(a);
                      b.setSize(3);
                      b.setZeros();
                      total += c.sdistance(c) + b.scalarProduct(b);
                  }
              }));
    EXPECT_EQ(0, total);
    EXPECT_EQ(0, allocationsOf([] { Vector<long double> v(4); }));
}

TEST(VectorAllocation, fiveElementsNeedOneAndAMoveOfThemNone) {
    EXPECT_EQ(1, allocationsOf([] {
                  Vector<int> a(5);
                  a.fill(7);
                  Vector<int> b(std::move(a));
                  Vector<int> c;
                  c = std::move(b);
                  Vector<int> d;
                  d.swap(c);
                  EXPECT_EQ(35, d.sum());
              }));
}

TEST(VectorAllocation, assignmentOfTheSameSizeReusesTheArray) {
    Vector<float> a(100);
    Vector<float> b(100);
    b.setOnes();
    EXPECT_EQ(0, allocationsOf([&] { a = b; }));
    EXPECT_EQ(100, a.sum());
}

TEST(VectorAllocation, aViewNeedsNone) {
    float array[9] = {};
    EXPECT_EQ(0, allocationsOf([&array] {
                  Vector<float> view = Vector<float>::view(array, 9);
                  view.fill(2);
              }));
    EXPECT_EQ(2, array[8]);
}

} // namespace vorlen
