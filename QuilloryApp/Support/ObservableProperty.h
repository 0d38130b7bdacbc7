#pragma once

#include <sigc++/signal.h>

#include <utility>

namespace Quillory {

// One observed field of a store: a value and a "changed" signal. Stores own their properties and
// write them on the main thread; views read them and connect to `changed`.
template<class T>
class ObservableProperty {
public:
    ObservableProperty() = default;
    explicit ObservableProperty(T initialValue)
        : m_value(std::move(initialValue))
    {
    }
    ObservableProperty(const ObservableProperty&) = delete;
    ObservableProperty& operator=(const ObservableProperty&) = delete;

    const T& get() const { return m_value; }
    const T& operator*() const { return m_value; }
    const T* operator->() const { return &m_value; }

    // Stores the value and notifies, whether or not it changed.
    void set(T value)
    {
        m_value = std::move(value);
        changed.emit();
    }

    // Stores the value and notifies only when it differs from the one held. Returns whether it did.
    bool setIfChanged(T value)
    {
        if (m_value == value)
            return false;
        set(std::move(value));
        return true;
    }

    // Mutable so that observers can connect through a const reference to the property.
    mutable sigc::signal<void()> changed;

private:
    T m_value {};
};

}
