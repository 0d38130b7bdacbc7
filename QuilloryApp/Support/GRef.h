#pragma once

#include <glib-object.h>

#include <utility>

namespace Quillory {

// How each GLib type is referenced and released. GObject types use the default; boxed and other
// reference-counted types need their own functions, or they would be unref'd as objects.
template<class T>
struct GRefTraits {
    static T* ref(T* pointer) { return static_cast<T*>(g_object_ref(pointer)); }
    static void unref(T* pointer) { g_object_unref(pointer); }
};
template<>
struct GRefTraits<GBytes> {
    static GBytes* ref(GBytes* pointer) { return g_bytes_ref(pointer); }
    static void unref(GBytes* pointer) { g_bytes_unref(pointer); }
};
template<>
struct GRefTraits<GKeyFile> {
    static GKeyFile* ref(GKeyFile* pointer) { return g_key_file_ref(pointer); }
    static void unref(GKeyFile* pointer) { g_key_file_unref(pointer); }
};

// A move-only owner of one reference. Every construction says whether it takes over a reference
// the caller already owns (`adopt`) or adds one of its own (`retain`).
template<class T>
class GRef {
public:
    GRef() = default;
    static GRef adopt(T* pointer) { return GRef(pointer); }
    static GRef retain(T* pointer) { return GRef(pointer ? GRefTraits<T>::ref(pointer) : nullptr); }

    GRef(GRef&& other) noexcept
        : m_pointer(std::exchange(other.m_pointer, nullptr))
    {
    }
    GRef& operator=(GRef&& other) noexcept
    {
        if (this != &other)
            reset(std::exchange(other.m_pointer, nullptr));
        return *this;
    }
    GRef(const GRef&) = delete;
    GRef& operator=(const GRef&) = delete;
    ~GRef() { reset(); }

    T* get() const { return m_pointer; }
    T* operator->() const { return m_pointer; }
    explicit operator bool() const { return m_pointer != nullptr; }

    // Hands the reference to the caller.
    [[nodiscard]] T* release() { return std::exchange(m_pointer, nullptr); }

private:
    explicit GRef(T* pointer)
        : m_pointer(pointer)
    {
    }
    void reset(T* pointer = nullptr)
    {
        if (T* old = std::exchange(m_pointer, pointer))
            GRefTraits<T>::unref(old);
    }

    T* m_pointer { nullptr };
};

}
