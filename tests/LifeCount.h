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
