/*
 * A RIB server in this process, in a run directory of its own that nobody else can enter and that goes with it.
 */
#pragma once

#include <memory>
#include <string>

class rib_embedded_server;

class demo_server
{
public:
    /* Serves when it returns, and this process finds it. Fails the command otherwise. */
    demo_server();
    ~demo_server();
    demo_server(const demo_server &) = delete;
    demo_server &operator=(const demo_server &) = delete;
    const std::string &dir() const { return dir_; }

private:
    void start();

    std::string dir_;
    std::unique_ptr<rib_embedded_server> server_;
};
