#pragma once

#include <string>

namespace vorlen {

/// How the sets of a normalization are registered. The number 1 stays free.
enum VRLFusionRegistrationAlgorithm { GlobalRegistration = 0, TemplateRegistration = 2 };

enum VRLFusionWarpingModel { PolynomialWarping = 0, ThinPlateSplineWarping = 1 };

/// What corresponds in two specimens: points of the surfaces where the anatomy lies, or levels and vertices of equal
/// rank.
enum VRLFusionCorrespondence { LevelCorrespondence = 0, SurfaceCorrespondence = 1 };

/// Which steps a normalization takes, and how: alignment on principal axes, rigid registration, warping on the mean.
///
/// None of them at first; a new strategy registers globally and warps by polynomials of degree 2 when these steps are
/// switched on. By default correspondence is by surface: alignment and registration then go by closest points and
/// cannot turn a specimen over; by levels they go by principal axes and by ranks.
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

    void setCorrespondence(VRLFusionCorrespondence correspondence) { __correspondence = correspondence; }
    VRLFusionCorrespondence getCorrespondence() const { return __correspondence; }

    /// Whether specimens that are mirror images, as left and right organs, are mirrored; by surface only.
    void setMirrored(bool mirrored) { __mirrored = mirrored; }
    bool isMirrored() const { return __mirrored; }

    /// Smoothing of a spline by surface, as CohortWarp::spline() takes it; below 0 it is chosen.
    void setSmoothing(double smoothing) { __smoothing = smoothing; }
    double getSmoothing() const { return __smoothing; }

    /// Whether a specimen whose warp folds space stays as registered; it is named in any case.
    void setFoldsRefused(bool refused) { __foldsRefused = refused; }
    bool isFoldsRefused() const { return __foldsRefused; }

private:
    bool __alignment = false;
    bool __registration = false;
    VRLFusionRegistrationAlgorithm __registrationAlgorithm = GlobalRegistration;
    std::string __referenceStack;
    bool __warping = false;
    VRLFusionWarpingModel __warpingModel = PolynomialWarping;
    unsigned int __polynomialDegree = 2;
    VRLFusionCorrespondence __correspondence = SurfaceCorrespondence;
    bool __mirrored = false;
    double __smoothing = -1;
    bool __foldsRefused = false;
};

} // namespace vorlen
