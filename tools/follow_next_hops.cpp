/*
 * nexthop --watch: follows how addresses are reached.
 */
#include "address_file.h"
#include "argument.h"
#include "commands.h"
#include "failure.h"
#include "follow_output.h"
#include "show_next_hops.h"

#include <algorithm>
#include <set>

namespace
{

struct followed_addresses {
    std::vector<in6_addr> each; /* once */
    bool flawless = true;       /* the file could be read */
};

followed_addresses addresses_of(const nexthop_options &options)
{
    followed_addresses followed;
    for (const std::string &text : options.addresses)
        followed.each.push_back(next_hop_argument(text));
    if (!options.file.empty()) {
        progress shown("reading", true);
        followed.flawless = add_addresses(options.file, shown, &followed.each);
    }
    std::set<address_bits> seen;
    std::erase_if(followed.each, [&](const in6_addr &addr) { return !seen.insert(bits_of(addr)).second; });
    if (followed.each.empty())
        fail("{} holds no address", options.file);
    return followed;
}

follow_options follow_options_of(const nexthop_options &options, std::vector<in6_addr> next_hops)
{
    return {.table = options.table,
            .retry = options.retry && !options.once,
            .next_hops = std::move(next_hops),
            .least_length = options.least_length};
}

class next_hop_watcher final : public follow_sink
{
public:
    next_hop_watcher(const nexthop_options &options, std::vector<in6_addr> next_hops, output &out)
        : once_(options.once), out_(out), follower_(follow_options_of(options, std::move(next_hops)), *this)
    {
    }

    /* Ends with the first answers when only they are wanted, else by an interrupt, or by what is thrown. */
    void run()
    {
        try {
            while (!(once_ && told_))
                follow_step(follower_, out_);
        } catch (const command_failure &failure) {
            if (once_ || failure.code != exit_interrupted)
                throw;
        }
    }

    void next_hop(const rib_next_hop_update &told) override
    {
        if (out_.as_json())
            out_.object(next_hop_object(told, name_));
        else
            out_.line("{}", next_hop_line(told, name_));
    }
    void next_hops_told(rib_tableid_td table) override
    {
        told_ = true;
        show_update(out_, next_hops_told_update(table));
    }
    void established(uint32_t client_id) override { show_update(out_, established_update(client_id)); }
    void lost() override { show_update(out_, lost_update()); }
    void waits_for(const std::string &whom) override { fmt::print(stderr, "ribctl: waiting for {}\n", whom); }

private:
    bool once_, told_ = false;
    output &out_;
    protocol_namer name_ = [this](rib_protoid_td id) { return follower_.name_of(id); };
    follower follower_;
};

} // namespace

int follow_next_hops_command(const nexthop_options &options, output &out)
{
    if (options.table == 0)
        fail("table 0 holds no next hops");
    followed_addresses followed = addresses_of(options);
    next_hop_watcher(options, std::move(followed.each), out).run();
    return followed.flawless ? exit_fine : exit_bad_input;
}
