#include "follow_output.h"

#include "interrupt.h"

void follow_step(follower &follower, output &out)
{
    constexpr std::chrono::milliseconds patience(200); // how soon an interrupt is noticed
    check_interrupt();
    if (!follower.busy())
        out.finish();
    follower.step(patience);
}

void show_update(output &out, const shown_update &update)
{
    if (out.as_json())
        out.object(update.object);
    else
        out.line("{}", update.line);
}
