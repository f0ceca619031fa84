#pragma once

#include "core/base/BSmartObj.h"

#include <functional>
#include <utility>

/// A smart object that counts in `lives` how many of its kind live.
class Counted : public BSmartObj {
public:
    explicit Counted(int& lives)
        : m_lives(lives)
    {
        ++m_lives;
    }
    Counted(const Counted&) = delete;
    ~Counted() override { --m_lives; }

private:
    int& m_lives;
};

/// A smart object that calls a function when it dies.
class Curious : public BSmartObj {
public:
    explicit Curious(std::function<void()> look)
        : m_look(std::move(look))
    {}
    Curious(const Curious&) = delete;
    ~Curious() override { m_look(); }

private:
    std::function<void()> m_look;
};

/// A value that counts its copies, defaults included, in `alive` and throws on a wanted copy.
struct CountedValue {
    static inline int alive = 0;
    static inline int copiesUntilThrow = -1; // negative: never

    explicit CountedValue(int number = 0)
        : value(number)
    {
        ++alive;
    }
    CountedValue(const CountedValue& other)
        : CountedValue(other.value)
    {
        if (copiesUntilThrow-- == 0)
            throw 1;
    }
    CountedValue& operator=(const CountedValue& other)
    {
        if (copiesUntilThrow-- == 0)
            throw 1;
        value = other.value;
        return *this;
    }
    ~CountedValue() { --alive; }

    int value;
};
