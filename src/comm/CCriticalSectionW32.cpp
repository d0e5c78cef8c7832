#include "CCriticalSectionW32.h"

CCriticalSectionW32::CCriticalSectionW32()
    : m_section(new CRITICAL_SECTION)
{
    InitializeCriticalSection(m_section);
}

CCriticalSectionW32::~CCriticalSectionW32()
{
    DeleteCriticalSection(m_section);
    delete m_section;
}

void CCriticalSectionW32::Enter()
{
    EnterCriticalSection(m_section);
}

bool CCriticalSectionW32::TryEnter()
{
    return TryEnterCriticalSection(m_section) != 0;
}

void CCriticalSectionW32::Leave()
{
    LeaveCriticalSection(m_section);
}
