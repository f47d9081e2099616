#include "view_process.h"

#include "message.h"
#include "program.h"

#include <string>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

int start_view(const char *port, const sigset_t &callers_mask)
{
    const std::string server = find_own_file("tavo-panel-view");
    int ends[2];
    if (server.empty() || socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends) != 0) {
        error_message("--view needs tavo-panel-view, which is built where libcpp-httplib-dev is");
        return -1;
    }
    const pid_t starter = fork(); // for children of this process are the command's
    if (starter == 0) {
        if (fork() != 0)
            _exit(0);
        setsid(); // keys of the terminal are for the command
        sigprocmask(SIG_SETMASK, &callers_mask, nullptr);
        dup2(ends[1], STDIN_FILENO);
        execl(server.c_str(), "tavo-panel-view", *port ? port : "8758", nullptr);
        _exit(127);
    }
    close(ends[1]);
    waitpid(starter, nullptr, 0);
    char ready;
    if (read(ends[0], &ready, 1) == 1)
        return ends[0];
    close(ends[0]);
    return -1;
}

void end_view(int socket)
{
    char none;
    shutdown(socket, SHUT_WR);
    while (read(socket, &none, 1) > 0)
        ;
    close(socket);
}
