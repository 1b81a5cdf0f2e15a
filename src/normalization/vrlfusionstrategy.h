#pragma once

#include <string>

namespace vorlen {

/// How the sets of a normalization are registered. The number 1 stays free.
enum VRLFusionRegistrationAlgorithm { GlobalRegistration = 0, TemplateRegistration = 2 };

enum VRLFusionWarpingModel { PolynomialWarping = 0, ThinPlateSplineWarping = 1 };

/// Which steps a normalization takes, and how: alignment on principal axes, rigid registration, warping on the mean.
///
/// None of them at first; a new strategy registers globally and warps by polynomials of degree 2 when these steps are
/// switched on.
class VRLFusionStrategy {
public:
    void setAlignment(bool alignment) { __alignment = alignment; }
    bool isAlignment() const { return __alignment; }

    void setRegistration(bool registration) { __registration = registration; }
    bool isRegistration() const { return __registration; }

    void setRegistrationAlgorithm(VRLFusionRegistrationAlgorithm algorithm) { __registrationAlgorithm = algorithm; }
    VRLFusionRegistrationAlgorithm getRegistrationAlgorithm() const { return __registrationAlgorithm; }

    /// Name of the stack that is the template of a TemplateRegistration.
    void setReferenceStack(const std::string& name) { __referenceStack = name; }
    const std::string& getReferenceStack() const { return __referenceStack; }

    void setWarping(bool warping) { __warping = warping; }
    bool isWarping() const { return __warping; }

    void setWarpingModel(VRLFusionWarpingModel model) { __warpingModel = model; }
    VRLFusionWarpingModel getWarpingModel() const { return __warpingModel; }

    void setPolynomialDegree(unsigned int degree) { __polynomialDegree = degree; }
    unsigned int getPolynomialDegree() const { return __polynomialDegree; }

private:
    bool __alignment = false;
    bool __registration = false;
    VRLFusionRegistrationAlgorithm __registrationAlgorithm = GlobalRegistration;
    std::string __referenceStack;
    bool __warping = false;
    VRLFusionWarpingModel __warpingModel = PolynomialWarping;
    unsigned int __polynomialDegree = 2;
};

} // namespace vorlen
