#pragma once

#include "commands/temporaryfolder.h"
#include "commands/virtualscreen.h"

#include <string>

namespace selftest {

/// The configuration of a server with the dummy driver of X.Org, which can have several screens; that of Xvfb
/// cannot, as far as Qt 5 sees.
class DummyConfiguration
{
public:
    DummyConfiguration();

protected:
    std::string pathOf(const std::string &name) const { return m_folder.path() + "/" + name; }

private:
    const lab::TemporaryFolder m_folder;
};

/// Two screens side by side, of the size of a single one each; the left one is the primary.
class TwoScreens : private DummyConfiguration, public lab::VirtualScreen
{
public:
    /// Throws LeftOut if they cannot be had.
    TwoScreens();
};

} // namespace selftest
