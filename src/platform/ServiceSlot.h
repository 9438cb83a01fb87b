#pragma once

#include <memory>
#include <mutex>
#include <utility>

// The process's one instance of an outside-world interface (registry, machine facts, server
// management, dialogs): made by its factory on first use, replaceable by a test for a scope.
template <class T>
class ServiceSlot {
public:
    using Factory = std::shared_ptr<T> (*)();
    explicit ServiceSlot(Factory make) : m_make(make) {}

    T& get()
    {
        std::lock_guard lock(m_mutex);
        if (!m_current)
            m_current = m_make();
        return *m_current;
    }

    // Puts another instance in place (none: the factory's, on next use); returns the old one.
    std::shared_ptr<T> exchange(std::shared_ptr<T> next)
    {
        std::lock_guard lock(m_mutex);
        m_current.swap(next);
        return next;
    }

private:
    std::mutex m_mutex;
    Factory m_make;
    std::shared_ptr<T> m_current;
};

// Replaces the instance in a slot while it lives and puts the previous one back after.
template <class T, ServiceSlot<T>& (*Slot)()>
class ScopedServiceOverride {
public:
    explicit ScopedServiceOverride(std::shared_ptr<T> replacement) : m_previous(Slot().exchange(std::move(replacement)))
    {
    }
    ~ScopedServiceOverride() { Slot().exchange(std::move(m_previous)); }
    ScopedServiceOverride(const ScopedServiceOverride&) = delete;
    ScopedServiceOverride& operator=(const ScopedServiceOverride&) = delete;

private:
    std::shared_ptr<T> m_previous;
};
