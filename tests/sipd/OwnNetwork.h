#ifndef OWN_NETWORK_H
#define OWN_NETWORK_H

// Gives this process a network of its own, which has nothing but a loopback that is up. False where that is
// not to be had.
bool enterOwnNetwork();

// Adds an interface with the IPv4 address 192.0.2.1, and with no more of IPv6 than an address of the link. It
// stays as long as this process. False where that is not to be had.
bool addInterface();

#endif
