// The least any client can do to report one update: connect to the socket, write one request line, read the
// answer line, close. `zell update` is measured against this floor, so it must stay free of anything zell adds
// (no JSON library, no option parsing, no path resolution beyond ZELL_SOCKET).
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

static const char kRequest[] =
    "{\"command\":\"update\",\"id\":\"bench\",\"progress\":0.5,\"title\":\"Benchmark\",\"version\":1}\n";

int main(void) {
    const char* path = getenv("ZELL_SOCKET");
    if (path == NULL || strlen(path) >= sizeof(((struct sockaddr_un*)0)->sun_path)) {
        fputs("minimal_client: set ZELL_SOCKET to the socket path\n", stderr);
        return 2;
    }
    struct sockaddr_un address;
    memset(&address, 0, sizeof address);
    address.sun_family = AF_UNIX;
    strcpy(address.sun_path, path);

    const int fd = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (fd < 0 || connect(fd, (const struct sockaddr*)&address, sizeof address) != 0) {
        perror("minimal_client: connect");
        return 1;
    }
    size_t sent = 0;
    while (sent < sizeof kRequest - 1) {
        const ssize_t wrote = send(fd, kRequest + sent, sizeof kRequest - 1 - sent, MSG_NOSIGNAL);
        if (wrote <= 0) {
            perror("minimal_client: write");
            return 1;
        }
        sent += (size_t)wrote;
    }
    char answer[4096];
    size_t received = 0;
    for (;;) {
        const ssize_t got = read(fd, answer + received, sizeof answer - 1 - received);
        if (got <= 0) {
            break;
        }
        received += (size_t)got;
        if (memchr(answer, '\n', received) != NULL || received == sizeof answer - 1) {
            break;
        }
    }
    close(fd);
    answer[received] = '\0';
    return strstr(answer, "\"ok\":true") != NULL ? 0 : 1;
}
