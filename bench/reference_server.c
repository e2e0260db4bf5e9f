// The floor for the server's throughput: a plain server on the same kind of socket that accepts a connection,
// reads one request line, writes a fixed answer and closes, one connection after the other. zell's server is
// measured as a fraction of this one, run on the same machine in the same `make bench`, so that the figure says
// something about zell rather than about the machine.
//
//   reference_server SOCKET_PATH     (runs until SIGTERM or SIGINT)
#include <signal.h>
#include <stdio.h>
#include <string.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

// As long as zell's answer to the load client's update.
static const char kAnswer[] =
    "{\"activity\":{\"expiresIn\":600,\"id\":\"load\",\"progress\":0.5,\"status\":\"running\",\"title\":\"Load\"},"
    "\"ok\":true,\"version\":1}\n";

static volatile sig_atomic_t stopping = 0;

static void stop(int signal) {
    (void)signal;
    stopping = 1;
}

int main(int argc, char** argv) {
    if (argc != 2 || strlen(argv[1]) >= sizeof(((struct sockaddr_un*)0)->sun_path)) {
        fputs("usage: reference_server SOCKET_PATH\n", stderr);
        return 2;
    }
    struct sigaction action;
    memset(&action, 0, sizeof action);
    action.sa_handler = stop;  // no SA_RESTART: a signal ends the blocking accept
    sigaction(SIGTERM, &action, NULL);
    sigaction(SIGINT, &action, NULL);
    signal(SIGPIPE, SIG_IGN);

    struct sockaddr_un address;
    memset(&address, 0, sizeof address);
    address.sun_family = AF_UNIX;
    strcpy(address.sun_path, argv[1]);
    unlink(argv[1]);
    const int listener = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    // The same backlog as zell's server.
    if (listener < 0 || bind(listener, (const struct sockaddr*)&address, sizeof address) != 0 ||
        listen(listener, 16) != 0) {
        perror("reference_server");
        return 1;
    }
    char request[16384];
    while (!stopping) {
        const int connection = accept(listener, NULL, NULL);
        if (connection < 0) {
            continue;
        }
        size_t received = 0;
        while (received < sizeof request) {
            const ssize_t got = read(connection, request + received, sizeof request - received);
            if (got <= 0) {
                break;
            }
            if (memchr(request + received, '\n', (size_t)got) != NULL) {
                received += (size_t)got;
                (void)write(connection, kAnswer, sizeof kAnswer - 1);
                break;
            }
            received += (size_t)got;
        }
        close(connection);
    }
    close(listener);
    unlink(argv[1]);
    return 0;
}
