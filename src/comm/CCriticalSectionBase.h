#pragma once

// A re-entrant lock.
class CCriticalSectionBase
{
public:
    CCriticalSectionBase() = default;
    virtual ~CCriticalSectionBase() = default;
    CCriticalSectionBase(const CCriticalSectionBase &) = delete;
    CCriticalSectionBase &operator=(const CCriticalSectionBase &) = delete;

    virtual void Enter() = 0;
    virtual bool TryEnter() = 0;
    virtual void Leave() = 0;
};
