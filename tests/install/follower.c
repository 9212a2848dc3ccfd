/*
 * A client with an event manager, which takes the platform library as well.
 */
#include <ipv6_rib/connection.h>
#include <platform/event.h>

#include <stdio.h>
#include <stdlib.h>

static void on_updates(void *conn, uint32_t code, void *context)
{
    (void)conn;
    (void)code;
    *(int *)context += 1;
}

int main(void)
{
    int calls = 0;
    event_manager_t *manager = event_manager_create();
    int failed = !manager || event_manager_fd(manager) < 0 || ipv6_rib_notify(manager, 7, on_updates, &calls) != 0 ||
                 event_manager_dispatch(manager, 0) != 0 || calls != 0 || ipv6_rib_unnotify(manager) != 0;
    event_manager_destroy(manager);
    if (failed)
        fprintf(stderr, "follower: failed\n");
    return failed ? EXIT_FAILURE : EXIT_SUCCESS;
}
