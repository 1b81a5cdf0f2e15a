#include "numerics/polynomial.h"

#include <cmath>
#include <limits>
#include <random>
#include <sstream>

#include <gtest/gtest.h>

#include "support/failures.h"
#include "support/vectors.h"

namespace vorlen {

namespace {

Vector<double> coefficientsUpFrom(int first, int n) {
    Vector<double> c(static_cast<unsigned int>(n));
    c.setSequence(first, 1);
    return c;
}

std::vector<Vector<double>> randomPoints(int n, int dimension) {
    std::mt19937 engine(7);
    std::uniform_real_distribution<double> uniform(-1, 1);
    std::vector<Vector<double>> points(static_cast<std::size_t>(n),
                                       Vector<double>(static_cast<unsigned int>(dimension)));
    for (Vector<double>& point : points)
        for (double& x : point)
            x = uniform(engine);
    return points;
}

// Value by the sum over all exponents, each coefficient looked up by its exponents.
double bruteForce(const Polynomial<double>& p, const Vector<double>& x, std::vector<int> exponents = {},
                  double monomial = 1, int used = 0) {
    const int k = static_cast<int>(exponents.size());
    if (k == p.getDimension())
        return monomial * p.getCoeff(exponents.data());
    double total = 0;
    for (int e = 0; e <= p.getDegree() - used; ++e) {
        std::vector<int> longer(exponents);
        longer.push_back(e);
        total += bruteForce(p, x, longer, monomial * std::pow(x[k], e), used + e);
    }
    return total;
}

} // namespace

TEST(Polynomial, termsAreOrderedByDescendingExponents) {
    const Polynomial<double> p(2, 2);
    EXPECT_EQ(6, p.numTerms());
    int expected = 0;
    for (const char* exponents : {"2,0", "1,1", "1,0", "0,2", "0,1", "0,0"})
        EXPECT_EQ(expected++, p.locate(exponents));
    EXPECT_EQ(1, Polynomial<double>(0, 1).numTerms());
    EXPECT_EQ(3, Polynomial<double>(1, 2).numTerms());
    EXPECT_EQ(35, Polynomial<double>(4, 3).numTerms());
    EXPECT_EQ(0, Polynomial<double>(3, 0).numTerms());
    EXPECT_EQ(0, Polynomial<double>().numTerms());
}

TEST(Polynomial, evaluationAgreesWithTheSumOverAllMonomials) {
    for (int degree = 0; degree <= 5; ++degree) {
        for (int dimension = 1; dimension <= 4; ++dimension) {
            Polynomial<double> p(degree, dimension);
            p.setCoefficients(coefficientsUpFrom(-3, p.numTerms()));
            for (const Vector<double>& x : randomPoints(5, dimension)) {
                const double expected = bruteForce(p, x);
                EXPECT_NEAR(expected, p.eval(x), 1e-11 * (1 + std::fabs(expected)));
                EXPECT_EQ(p.eval(x), p.eval(x));
            }
        }
    }
    EXPECT_EQ(0, Polynomial<double>(3, 0).eval(Vector<double>()));
}

TEST(Polynomial, coefficientsAreReachedByExponents) {
    Polynomial<double> p(3, 2);
    const int exponents[] = {1, 2};
    p.setCoeff(exponents, 5);
    EXPECT_EQ(5, p.getCoeff("1,2"));
    p.setCoeff("0,0", 7);
    EXPECT_EQ(5 * 2 * 9 + 7, p.eval(vectorOf({2.0, 3.0})));
}

TEST(Polynomial, impossibleExponentsAreRefused) {
    const Polynomial<double> p(2, 2);
    EXPECT_THROW(p.getCoeff("2,1"), RangeError);
    EXPECT_THROW(p.getCoeff("-1,1"), RangeError);
    EXPECT_THROW(p.getCoeff("99999999999999999999,0"), RangeError);
    EXPECT_THROW(p.getCoeff("1"), ValueError);
    EXPECT_THROW(p.getCoeff("1,0,0"), ValueError);
    EXPECT_THROW(p.getCoeff(""), ValueError);
    EXPECT_THROW(p.getCoeff("1;0"), ValueError);
    EXPECT_THROW(Polynomial<double>(2, 0).getCoeff(""), RangeError);
}

TEST(Polynomial, impossibleShapesAreRefusedAndLeaveThePolynomialAlone) {
    Polynomial<double> p(1, 1);
    p.setCoeff("1", 3);
    EXPECT_THROW(p.setDegree(-1), ValueError);
    EXPECT_THROW(p.setDimension(-1), ValueError);
    EXPECT_THROW(p.reset(1000, 1000), ValueError);
    EXPECT_THROW(p.reset(2, 16000), ValueError);
    EXPECT_THROW(p.reset(std::numeric_limits<int>::max(), std::numeric_limits<int>::max()), ValueError);
    EXPECT_THROW(p.setCoefficients(Vector<double>(3)), SizeError);
    EXPECT_EQ(6, p.eval(vectorOf({2.0})));
}

TEST(Polynomial, resetClearsAlsoWhenTheShapeStays) {
    Polynomial<double> p(2, 1);
    p.setCoeff("1", 3);
    p.reset(2, 1);
    EXPECT_EQ(0, p.eval(vectorOf({2.0})));
    p.setDegree(4);
    EXPECT_EQ(4, p.getDegree());
    EXPECT_EQ(5, p.numTerms());
    p.setDimension(2);
    EXPECT_EQ(15, p.numTerms());
    p.setDimension(0);
    EXPECT_EQ(0, p.numTerms());
    EXPECT_EQ(4, p.getDegree());
}

TEST(Polynomial, arithmeticIsByCoefficient) {
    Polynomial<double> p(1, 1);
    Polynomial<double> q(1, 1);
    p.setCoefficients(vectorOf({2.0, 3.0}));
    q.setCoefficients(vectorOf({1.0, 5.0}));
    EXPECT_EQ(vectorOf({3.0, 8.0}), (p + q).getCoefficients());
    EXPECT_EQ(vectorOf({1.0, -2.0}), (p - q).getCoefficients());
    EXPECT_EQ(vectorOf({4.0, 6.0}), (p * 2).getCoefficients());
    EXPECT_EQ(vectorOf({1.0, 1.5}), (p / 2).getCoefficients());
    p += q;
    p -= q * 2;
    EXPECT_EQ(vectorOf({1.0, -2.0}), p.getCoefficients());
}

TEST(Polynomial, arithmeticOfDifferentShapesIsRefused) {
    Polynomial<double> p(1, 1);
    const Polynomial<double> degree(2, 1);
    const Polynomial<double> dimension(1, 2);
    const std::string add = "void Polynomial<T>::operator+=(const Polynomial&)";
    expectFailure<SizeError>([&] { p += degree; }, add, "Degree mismatch");
    expectFailure<SizeError>([&] { p += dimension; }, add, "Dimension mismatch");
    expectFailure<SizeError>([&] { p -= degree; }, "void Polynomial<T>::operator-=(const Polynomial&)",
                             "Degree mismatch");
    expectFailure<SizeError>([&] { p + dimension; }, "Polynomial<T> Polynomial<T>::operator+(const Polynomial&) const",
                             "Dimension mismatch");
    expectFailure<SizeError>([&] { p - degree; }, "Polynomial<T> Polynomial<T>::operator-(const Polynomial&) const",
                             "Degree mismatch");
}

TEST(Polynomial, derivativesAgreeWithDifferences) {
    for (int dimension = 1; dimension <= 3; ++dimension) {
        Polynomial<double> p(4, dimension);
        p.setCoefficients(coefficientsUpFrom(1, p.numTerms()));
        for (int k = 0; k < dimension; ++k) {
            const Polynomial<double> d = p.derivative(k);
            EXPECT_EQ(3, d.getDegree());
            for (const Vector<double>& x : randomPoints(5, dimension)) {
                Vector<double> step(static_cast<unsigned int>(dimension));
                step.setCanonical(k);
                step *= 1e-5;
                EXPECT_NEAR((p.eval(x + step) - p.eval(x - step)) / 2e-5, d.eval(x), 1e-5);
            }
        }
    }
}

TEST(Polynomial, theDerivativeOfAConstantIsZeroAndAForeignVariableIsRefused) {
    Polynomial<double> constant(0, 2);
    constant.setCoeff("0,0", 4);
    EXPECT_EQ(0, constant.derivative(1).getDegree());
    EXPECT_EQ(2, constant.derivative(1).getDimension());
    EXPECT_EQ(0, constant.derivative(1).eval(vectorOf({1.0, 1.0})));
    for (const int k : {2, -1})
        expectFailure<RangeError>([&] { constant.derivative(k); },
                                  "Polynomial<T> Polynomial<T>::derivative(const int) const",
                                  "Index of derivation out of range");
}

TEST(Polynomial, theInnerProductIsTheSumOverThePoints) {
    Polynomial<double> p(1, 1);
    Polynomial<double> q(1, 1);
    p.setCoefficients(vectorOf({1.0, 0.0})); // x
    q.setCoefficients(vectorOf({2.0, 1.0})); // 2x + 1
    const std::vector<Vector<double>> points = {vectorOf({1.0}), vectorOf({3.0})};
    EXPECT_EQ(3 + 21, p.innerProduct(q, points));
    EXPECT_EQ(0, p.innerProduct(q, {}));
}

TEST(Polynomial, printsItsShapeAndCoefficients) {
    Polynomial<double> p(1, 1);
    p.setCoefficients(vectorOf({2.0, 3.5}));
    std::ostringstream stream;
    p.print("", stream);
    EXPECT_EQ("Polynomial \n  Dimension 1\n  Degree    1\n  Terms     2\n  Coeffs    2 3.5\n", stream.str());
}

TEST(PolynomialFitting, theBasisRunsFromTheConstant) {
    std::vector<Polynomial<double>> basis;
    Polynomial<double>::buildBasis(2, 2, basis);
    ASSERT_EQ(6u, basis.size());
    EXPECT_EQ(1, basis[0].eval(vectorOf({3.0, 5.0})));
    EXPECT_EQ(5, basis[1].eval(vectorOf({3.0, 5.0})));
    EXPECT_EQ(9, basis[5].eval(vectorOf({3.0, 5.0})));
}

TEST(PolynomialFitting, gramSchmidtMakesThePolynomialsOrthogonalOnThePoints) {
    const std::vector<Vector<double>> points = randomPoints(40, 2);
    std::vector<Polynomial<double>> basis;
    std::vector<Polynomial<double>> orthogonal;
    Polynomial<double>::buildBasis(3, 2, basis);
    Polynomial<double>::gramSchmidt(basis, points, orthogonal);
    ASSERT_EQ(10u, orthogonal.size());
    for (std::size_t i = 0; i < orthogonal.size(); ++i) {
        EXPECT_GT(orthogonal[i].innerProduct(orthogonal[i], points), 1e-3);
        for (std::size_t j = 0; j < i; ++j)
            EXPECT_NEAR(0, orthogonal[i].innerProduct(orthogonal[j], points), 1e-12);
    }
}

TEST(PolynomialFitting, aPolynomialOfTheDegreeIsFoundAgain) {
    const std::vector<Vector<double>> points = randomPoints(50, 3);
    Polynomial<double> truth(2, 3);
    truth.setCoefficients(coefficientsUpFrom(-4, truth.numTerms()));
    Vector<double> values(50);
    for (int i = 0; i < 50; ++i)
        values[i] = truth.eval(points[static_cast<std::size_t>(i)]);
    Polynomial<double> fit;
    fit.approximate(points, values, 2);
    EXPECT_NEAR(0, fit.getCoefficients().distance(truth.getCoefficients()), 1e-11);
}

TEST(PolynomialFitting, theResidualIsOrthogonalToEveryMonomial) {
    const std::vector<Vector<double>> points = randomPoints(60, 2);
    Vector<double> values(60);
    for (int i = 0; i < 60; ++i)
        values[i] = std::sin(5 * points[static_cast<std::size_t>(i)][0]) + points[static_cast<std::size_t>(i)][1];
    Polynomial<double> fit;
    fit.approximate(points, values, 2);
    std::vector<Polynomial<double>> basis;
    Polynomial<double>::buildBasis(2, 2, basis);
    for (const Polynomial<double>& monomial : basis) {
        double product = 0;
        for (std::size_t i = 0; i < points.size(); ++i)
            product += (values[static_cast<int>(i)] - fit.eval(points[i])) * monomial.eval(points[i]);
        EXPECT_NEAR(0, product, 1e-11);
    }
}

TEST(PolynomialFitting, withFewerPointsThanTermsItWarnsAndStillInterpolates) {
    const std::vector<Vector<double>> points = {vectorOf({0.0}), vectorOf({1.0})};
    Polynomial<double> fit;
    testing::internal::CaptureStderr();
    fit.approximate(points, vectorOf({2.0, 5.0}), 3);
    const std::string warning = testing::internal::GetCapturedStderr();
    EXPECT_EQ(0u, warning.find("Polynomial<T>::gramSchmidt(...): warning: 2 polynomial(s) discarded.\nepsilon = "));
    EXPECT_NEAR(2, fit.eval(points[0]), 1e-12);
    EXPECT_NEAR(5, fit.eval(points[1]), 1e-12);
}

TEST(PolynomialFitting, polynomialsThatVanishOnThePointsGiveTheZeroPolynomial) {
    std::vector<Polynomial<double>> polys(1, Polynomial<double>(1, 1));
    polys[0].setCoefficients(vectorOf({1.0, 0.0}));
    Polynomial<double> fit;
    fit.approximate(polys, {vectorOf({0.0})}, vectorOf({3.0}));
    EXPECT_EQ(vectorOf({0.0, 0.0}), fit.getCoefficients());
}

TEST(PolynomialFitting, sizesThatDoNotFitAreRefused) {
    std::vector<Polynomial<double>> out;
    const std::string where = "void Polynomial<T>::gramSchmidt(...)";
    const std::vector<Vector<double>> points = {vectorOf({0.0}), vectorOf({1.0})};
    const std::vector<Vector<double>> uneven = {vectorOf({0.0}), vectorOf({1.0, 2.0})};
    using Polynomials = std::vector<Polynomial<double>>;
    const Polynomials line = {Polynomial<double>(1, 1)};
    const Polynomials degrees = {Polynomial<double>(1, 1), Polynomial<double>(2, 1)};
    const Polynomials dimensions = {Polynomial<double>(1, 1), Polynomial<double>(1, 2)};
    const Polynomials plane = {Polynomial<double>(1, 2)};
    const auto gramSchmidt = [&](const Polynomials& in, const std::vector<Vector<double>>& x) {
        Polynomial<double>::gramSchmidt(in, x, out);
    };
    expectFailure<SizeError>([&] { gramSchmidt(degrees, points); }, where, "Degree mismatch");
    expectFailure<SizeError>([&] { gramSchmidt(dimensions, points); }, where, "Dimension mismatch");
    expectFailure<SizeError>([&] { gramSchmidt(plane, points); }, where, "Dimension mismatch");
    expectFailure<SizeError>([&] { gramSchmidt(line, uneven); }, where, "Size mismatch");
    Polynomial<double> fit;
    expectFailure<SizeError>(
        [&] { fit.approximate(line, points, vectorOf({1.0})); },
        "void Polynomial<T>::approximate(const vector<Polynomial>&,const vector<Vector<T> >&,const Vector<T>&)",
        "Sizes of input vectors x and y differ.");
    EXPECT_THROW(fit.approximate({}, points, vectorOf({1.0, 2.0})), ValueError);
    EXPECT_THROW(fit.approximate({}, Vector<double>(), 1), ValueError);
}

} // namespace vorlen
