#pragma once

#include <memory>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include <pybind11/pybind11.h>

#include "editing/operations/outcome.h"
#include "editing/stacks/vrlstack.h"
#include "python/callbackmonitor.h"
#include "python/errors.h"

namespace vorlen {

/// A stack in the hands of Python, shared by all objects that look at it or at its parts, so that it lives as long as
/// the last of them.
///
/// Every change goes through edit(). Behind it each slice, model and item that Python holds is looked for in the stack,
/// and one that is not there any more is marked as gone: an object for it raises vorlen.Error from then on and never
/// reaches into freed memory. One that comes back by undo is a new object.
///
/// Long work runs in study(), without the interpreter's lock. Meanwhile other threads may do anything but use this
/// stack, which raises vorlen.Error. All else happens under the lock, and so never twice at a time.
class StackHandle : public std::enable_shared_from_this<StackHandle> {
public:
    /// What Python knows of a part: one for each slice, model and item, shared by all objects for it.
    struct Part {
        const void* address;
        bool gone = false;
    };

    /// problems: what the reader had to say about the stack's file.
    explicit StackHandle(std::unique_ptr<VRLStack> stack, std::vector<std::string> problems = {})
        : __stack(std::move(stack)), __problems(std::move(problems)) {}

    const std::vector<std::string>& getProblems() const { return __problems; }

    /// Throws vorlen.Error while long work looks at it.
    VRLStack& stack() const;

    /// The same; throws vorlen.RefusedError for a read-only stack.
    VRLStack& editable() const;

    /// The part that stands for the slice, model or item at this address, which is in the stack.
    std::shared_ptr<Part> partFor(const void* address);

    /// Does what changes the stack. An Outcome that refuses raises vorlen.RefusedError.
    template <class Operation>
    void edit(Operation operation) {
        VRLStack& own = editable();
        try {
            const Outcome outcome = operation(own);
            sweep();
            require(outcome);
        } catch (...) {
            sweep();
            throw;
        }
    }

    /// Does long work that only looks at the stack, as watched() does.
    template <class Work>
    void study(ProgressSubject& subject, const pybind11::object& callback, Work work) {
        const Busy busy(*this);
        watched(subject, callback, std::move(work));
    }

    /// The same for work that reports no progress.
    template <class Work>
    void study(Work work) {
        const Busy busy(*this);
        const pybind11::gil_scoped_release released;
        work();
    }

    /// Marks a stack as one that long work looks at.
    class Busy {
    public:
        explicit Busy(StackHandle& handle) : __handle(handle.shared_from_this()) {
            handle.stack();
            ++handle.__busy;
        }
        ~Busy() { --__handle->__busy; }
        Busy(const Busy&) = delete;
        Busy& operator=(const Busy&) = delete;

    private:
        std::shared_ptr<StackHandle> __handle;
    };

private:
    void sweep();

    std::unique_ptr<VRLStack> __stack;
    std::vector<std::string> __problems;
    std::unordered_map<const void*, std::weak_ptr<Part>> __parts;
    int __busy = 0;
};

/// A slice, model or item of a stack as Python holds it.
template <class T>
class PartHandle {
public:
    PartHandle(std::shared_ptr<StackHandle> handle, T& part)
        : __handle(std::move(handle)), __part(__handle->partFor(&part)), __object(&part) {}

    /// Throws vorlen.Error when it has left its stack, or as StackHandle::stack().
    T& get() const {
        __handle->stack();
        if (__part->gone)
            fail("This object has left its stack: it was deleted, or its making undone");
        return *__object;
    }

    StackHandle& handle() const { return *__handle; }
    const std::shared_ptr<StackHandle>& shared() const { return __handle; }
    bool isGone() const { return __part->gone; }
    bool operator==(const PartHandle& other) const { return __part == other.__part; }
    std::size_t hash() const { return std::hash<const void*>()(__part.get()); }

private:
    std::shared_ptr<StackHandle> __handle;
    std::shared_ptr<StackHandle::Part> __part;
    T* __object;
};

class Model;
class ModelItem;
class StackSlice;
struct SurfaceCertificate;
using SliceHandle = PartHandle<StackSlice>;
using ModelHandle = PartHandle<Model>;
using ItemHandle = PartHandle<ModelItem>;

void bindStacks(pybind11::module_& module);
void bindItems(pybind11::module_& module);
void bindSurfaces(pybind11::module_& module);
void bindCohorts(pybind11::module_& module);
void bindMaps(pybind11::module_& module);

/// What vorlen-cli measures, as dictionaries and lists.
pybind11::dict measurementsOf(StackHandle& handle, bool errors);

/// What holds of a closed surface, as a dictionary; None for no certificate.
pybind11::object certificateOf(const SurfaceCertificate* certificate);

/// Throws vorlen.Error unless each slice has an image, or the size of one: else nobody knows where outlines lie.
void requireSizes(const Stack& stack);

/// A surface of the model, for the object of its class.
pybind11::object surfaceOf(const ModelHandle& model, int rows, int columns, const std::string& ends);

} // namespace vorlen
