#pragma once

#include "normalization/shapesetgroupregistration.h"

namespace vorlen {

/// Group registration of each set on one template set, which may be of the group and then stays where it is.
///
/// The references may be of any shape, as long as those of equal rank have equal sizes. The dynamics have two stages,
/// before and after. Linear in the number of sets, but for the two measurements of the error. isConverged() tells
/// whether the registration of every set came to its own end. Instantiated for float, double and long double.
template <class T>
class TargetShapeSetGroupRegistration : public ShapeSetGroupRegistration<T> {
public:
    ~TargetShapeSetGroupRegistration() override;

    /// The template is seen, not owned.
    void setTargetShapeSet(const ShapeSet<T>& target) { __target = &target; }
    const ShapeSet<T>* getTargetShapeSet() const { return __target; }

    /// Progress is reported with empty texts, after each set.
    /// Throws UsageError without a template, and what errorType1() and ShapeSetRegistration::apply() throw.
    void apply(ShapeSetGroup<T>& group) override;

private:
    const ShapeSet<T>* __target = nullptr;
};

} // namespace vorlen
