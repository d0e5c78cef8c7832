#pragma once

#include "ByteVector.h"

// The abstract port: something that sends octets and hands received octets upward.
class CCommunicationPort
{
public:
    CCommunicationPort() = default;
    virtual ~CCommunicationPort() = default;
    CCommunicationPort(const CCommunicationPort &) = delete;
    CCommunicationPort &operator=(const CCommunicationPort &) = delete;

    // Writes all octets; false when nothing could be sent.
    virtual bool Tx(const ByteVector &data) = 0;
    // Called on the reader thread with every batch received (never empty).
    virtual void OnReceive(const ByteVector &data) = 0;
    // Called after a transmission has been handed to the device; the link does not use it.
    virtual void OnTransmitComplete() {}
};
