/*
 * Lets lock functions fail. The test program is linked with --wrap for each of them, and only
 * calls from within it come through here.
 */
#pragma once

#include "tests/support/client_test.h"

/*
 * From now on a function fails: "trylock", "unlock" or "init" of a mutex, "rdlock" or "wrlock" of a reader/writer lock; ""
 * for none. nth: its nth call from now on, counted from 1, or every one (0). error: 0 for the usual one. A lock is not taken
 * when that is to fail, but is given back in any case. Plain mutexes, which the fakes and the test use, never fail.
 */
void fail_locks(const char *function, unsigned nth = 0, int error = 0);

/* A test after which, and after each case of which, locks work again. */
class lock_test : public client_test
{
protected:
    void SetUp() override
    {
        fail_locks("");
        client_test::SetUp();
    }
    void TearDown() override
    {
        fail_locks("");
        client_test::TearDown();
    }
};
