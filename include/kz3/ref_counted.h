#pragma once

#include <atomic>
#include <cstdint>

namespace kz3 {

template <typename T>
class Ptr;

/// Base of every counted object. An object lives as long as a Ptr holds it.
///
/// Copying is refused: a count belongs to one object.
class ref_counted {
public:
    ref_counted() = default;
    ref_counted(const ref_counted&) = delete;
    ref_counted& operator=(const ref_counted&) = delete;
    virtual ~ref_counted() = default;

    /// Number of holders. Starts at 0; Ptr alone changes it, by atomic addition.
    std::atomic<std::int32_t> count{0};

private:
    template <typename T>
    friend class Ptr;

    // Called by the holder whose release left no other; the object must have come from new.
    void __destroy() { delete this; } // NOLINT(bugprone-reserved-identifier)
};

/// Counted pointer to a descendant of ref_counted; may be null. One word.
///
/// Taking hold and releasing are atomic and may happen on any thread. Everything else about the
/// object is the holders' business.
template <typename T>
class Ptr {
public:
    Ptr() = default;
    Ptr(T* object) : object_(object) { take(); }
    Ptr(const Ptr& other) : object_(other.object_) { take(); }
    ~Ptr() { release(object_); }

    /// Takes hold of the new object, then releases the old one. The two may be the same.
    Ptr& operator=(T* object)
    {
        T* old = object_;
        object_ = object;
        take();
        release(old);
        return *this;
    }

    // NOLINTNEXTLINE(bugprone-unhandled-self-assignment): takes hold before it releases
    Ptr& operator=(const Ptr& other) { return *this = other.object_; }

    T* get() const { return object_; }
    T* operator->() const { return object_; }
    T& operator*() const { return *object_; }
    explicit operator bool() const { return object_ != nullptr; }

private:
    void take()
    {
        if (object_) object_->count.fetch_add(1);
    }

    // Below 1 and not only at 0, so that a count that went negative still ends the object.
    static void release(T* object)
    {
        if (object && object->count.fetch_add(-1) - 1 < 1) object->__destroy();
    }

    T* object_ = nullptr;
};

} // namespace kz3
