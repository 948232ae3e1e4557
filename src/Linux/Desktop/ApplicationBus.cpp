// SPDX-License-Identifier: GPL-3.0-or-later
#include "Linux/Desktop/ApplicationBus.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusVirtualObject>
#include <QString>

#include <utility>

namespace quillbox::desktop {

namespace {

const auto kApplicationInterface = QStringLiteral("org.freedesktop.Application");

/// The object path that the interface prescribes for a name: "/org/example/Name", a dash as "_".
QString pathFor(const QString& name) {
    auto path = QStringLiteral("/") + name;
    return path.replace(QLatin1Char('.'), QLatin1Char('/'))
        .replace(QLatin1Char('-'), QLatin1Char('_'));
}

}  // namespace

class ApplicationBus::Object final : public QDBusVirtualObject {
public:
    Object(const QString& name, Actions actions)
        : bus_(QDBusConnection::sessionBus()),
          name_(name),
          path_(pathFor(name)),
          actions_(std::move(actions)) {
        bus_.registerVirtualObject(path_, this);
        bus_.registerService(name_);
    }

    ~Object() override {
        bus_.unregisterService(name_);
        bus_.unregisterObject(path_);
    }

    QString introspect(const QString& /*path*/) const override {
        return QStringLiteral("<interface name=\"org.freedesktop.Application\">"
                              "<method name=\"Activate\">"
                              "<arg type=\"a{sv}\" direction=\"in\"/></method>"
                              "<method name=\"Open\">"
                              "<arg type=\"as\" direction=\"in\"/>"
                              "<arg type=\"a{sv}\" direction=\"in\"/></method>"
                              "<method name=\"ActivateAction\">"
                              "<arg type=\"s\" direction=\"in\"/>"
                              "<arg type=\"av\" direction=\"in\"/>"
                              "<arg type=\"a{sv}\" direction=\"in\"/></method>"
                              "</interface>");
    }

    bool handleMessage(const QDBusMessage& message, const QDBusConnection& connection) override {
        if (message.interface() != kApplicationInterface) {
            return false;
        }
        const auto reply = answer(message);
        return !message.isReplyRequired() || connection.send(reply);
    }

private:
    QDBusMessage answer(const QDBusMessage& call) {
        const auto member = call.member();
        const auto signature = call.signature();
        QString word;
        if (member == QLatin1String("ActivateAction") && signature == QLatin1String("sava{sv}")) {
            word = call.arguments().value(0).toString();
        } else if ((member != QLatin1String("Activate") || signature != QLatin1String("a{sv}")) &&
                   (member != QLatin1String("Open") || signature != QLatin1String("asa{sv}"))) {
            return call.createErrorReply(QDBusError::UnknownMethod, member);
        }
        const auto found = actions_.find(word.toStdString());
        if (found == actions_.end()) {
            return call.createErrorReply(QDBusError::InvalidArgs, word);
        }
        found->second();
        return call.createReply();
    }

    QDBusConnection bus_;
    const QString name_;
    const QString path_;
    const Actions actions_;
};

ApplicationBus::ApplicationBus(const std::string& applicationId, Actions actions)
    : object_(std::make_unique<Object>(QString::fromStdString(applicationId), std::move(actions))) {
}

ApplicationBus::~ApplicationBus() = default;

}  // namespace quillbox::desktop
