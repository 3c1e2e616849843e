#pragma once

#include <QtGlobal>

#include <string>
#include <vector>

/// Collects Qt's messages, such as its warnings about wrong use, while this object lives. One at a time.
class Messages
{
public:
    Messages();
    ~Messages();

    Messages(const Messages &) = delete;
    Messages &operator=(const Messages &) = delete;

    static std::vector<std::string> all();

private:
    QtMessageHandler m_former;
};
