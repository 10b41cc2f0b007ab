#ifndef VO_EXCEPTION_H
#define VO_EXCEPTION_H

#include "votypes.h"

#include <exception>
#include <string>

//! \brief The math library's error: a result code and a description made of the
//! throwing operation's full signature, one blank and the reason.
//! Kept inline so that the fixed-size types stay header-only for hosts.
class VoException : public std::exception
{
public:
    VoException(VoResultValue result, const char* function, const char* reason)
        : m_result(result)
        , m_description(std::string(function) + ' ' + reason)
    {
    }

    const char* what() const noexcept override { return m_description.c_str(); }
    VoResultValue result() const { return m_result; }

private:
    VoResultValue m_result;
    std::string m_description;
};

#endif // VO_EXCEPTION_H
