#include "client/zoltclient.h"

#include <new>

#include "client/engine.h"

void* zoltclient_init(const rest_conn_t* conn) {
    // No exception may leave a C entry point, so allocation failure is a null like any other.
    auto* client = new (std::nothrow) zoltclient();
    if (client == nullptr) return nullptr;
    client->rest = rest_init(conn);
    if (client->rest == nullptr) {
        delete client;
        return nullptr;
    }
    return client;
}

void zoltclient_deinit(void* handle) {
    if (handle == nullptr) return;
    auto* client = static_cast<zoltclient*>(handle);
    rest_deinit(client->rest);
    delete client;
}
