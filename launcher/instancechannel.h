// The local-socket half of single instance. It lives in a module of its own, loaded when first
// needed: QtNetwork and the libraries it pulls in cost a first instance a good part of its
// start, and it needs them only once its window is up.
#pragma once

#include <QString>

#include <functional>
#include <memory>

class InstanceChannel
{
public:
    using MessageHandler = std::function<void(const QString& message)>;

    virtual ~InstanceChannel() = default;
    // True when a server answers at serverPath within timeoutMs.
    virtual bool ServerAnswers(const QString& serverPath, int timeoutMs) = 0;
    // Serves serverPath, confirming each message before handing it to onMessage. A socket
    // already there is replaced only when replaceLeftover (it was left by a killed instance).
    virtual void Listen(const QString& serverPath, bool replaceLeftover,
                        const MessageHandler& onMessage) = 0;
    // Sends message, retrying while nobody listens yet; true when the server confirmed it
    // within timeoutMs (-1: no limit).
    virtual bool Send(const QString& serverPath, const QString& message, int timeoutMs) = 0;
};

// The module's one entry point.
extern "C" {
using CreateInstanceChannelFunction = InstanceChannel* (*)();
}

// Loads the module from the app folder; null, with the reason in *error, when it can't.
std::unique_ptr<InstanceChannel> LoadInstanceChannel(QString* error);
