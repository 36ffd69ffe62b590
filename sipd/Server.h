#ifndef SERVER_H
#define SERVER_H

#include "EventLoop.h"
#include "Registrations.h"

#include <memory>
#include <sys/types.h>
#include <vector>

class Client;

// The daemon's side of its socket: admits clients and carries out what they ask for.
//
// Refused, with ack 1, are processes of another user and clients beyond a limit. A client that breaks the
// rules of the protocol is disconnected; whatever a client does or leaves undone, the others are served.
class Server
{
public:
    // Listens on the non-blocking fd, which stays its owner's, and must last as long.
    Server(EventLoop& loop, int fd, Registrations& registrations);
    ~Server();
    Server(const Server&) = delete;
    Server& operator=(const Server&) = delete;

    // From now on listens on that fd, as on the one it was made with. Who waits at the former is admitted
    // first.
    void listenOn(int fd);

    // Between two steps of the loop: deletes the clients that have gone.
    void reap();

private:
    friend class Client;

    void watchSocket();
    bool acceptClient();
    void admitConnection(int fd);
    bool makeRoom();
    bool isRefused(const Client& client) const;

    EventLoop& loop_;
    Registrations& registrations_;
    int listenFd_;
    int spareFd_; // given up for a moment to be rid of a connection when there are no descriptors left
    std::vector<std::unique_ptr<Client>> clients_; // the oldest first
    bool hasClosedClients_ = false;
    std::unique_ptr<FdWatch> watch_;
};

#endif
