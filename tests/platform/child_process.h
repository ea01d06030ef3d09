// Processes of a test's own: forked, given a body, waited for.
#ifndef ZVSUPPORT_TESTS_PLATFORM_CHILD_PROCESS_H
#define ZVSUPPORT_TESTS_PLATFORM_CHILD_PROCESS_H

#include <csignal>
#include <cstdlib>
#include <utility>

#include <sys/wait.h>
#include <unistd.h>

namespace zv::test {

// Runs the body in a child, whose status is the body's answer. A child that hangs is ended after a
// while; one that is still there at the end of the test is killed.
class Child {
public:
    static constexpr int kKilled = -1;

    template <typename Body>
    explicit Child(Body body) {
        if (pipe(ready) != 0)
            std::abort();
        id = fork();
        if (id == 0) {
            alarm(120);
            _exit(body(*this));
        }
    }
    Child(const Child&) = delete;
    Child& operator=(const Child&) = delete;
    ~Child() {
        kill();
        close(ready[0]);
        close(ready[1]);
    }

    // In the child: tells the parent that it got so far, and then waits to be killed.
    void tell() const { (void)!write(ready[1], "x", 1); }
    [[noreturn]] void tellAndStay() const {
        tell();
        for (;;)
            pause();
    }
    // In the parent.
    void awaitTold() const {
        char byte = 0;
        (void)!read(ready[0], &byte, 1);
    }
    unsigned number() const { return static_cast<unsigned>(id); }
    // The status, or kKilled.
    int join() {
        int status = 0;
        if (id > 0)
            waitpid(std::exchange(id, 0), &status, 0);
        return WIFEXITED(status) ? WEXITSTATUS(status) : kKilled;
    }
    void kill() {
        if (id > 0) {
            ::kill(id, SIGKILL);
            join();
        }
    }

private:
    int ready[2] = {-1, -1};
    pid_t id = 0;
};

} // namespace zv::test

#endif
