#pragma once

#include <gtest/gtest.h>

/// A test at whose end all contacts lift. The input model follows them for the life of the process, and drops
/// a report that repeats the last one: a contact that stays down would be missing in the next test. A test
/// with this base class must have no driver left when it ends.
class LiftsContacts : public testing::Test
{
protected:
    ~LiftsContacts() override;
};
