// SPDX-License-Identifier: Apache-2.0
#include "UI/Panel/AppIconProvider.h"

#include "UI/ApplicationIcons/ApplicationIconImages.h"

#include <algorithm>
#include <utility>

namespace vello {
namespace {

std::string keyOf(const AppAudioSource& source) {
    return source.bundleID.value_or(source.id);
}

} // namespace

AppIconProvider::AppIconProvider(RunningApplications& applications, std::filesystem::path program)
    : applications_(applications), program_(std::move(program)) {
    process_.setStandardInputFile(QProcess::nullDevice());
    process_.setStandardErrorFile(QProcess::nullDevice()); // image decoders print warnings there
    // Queued, because QProcess cannot be restarted from its own finished signal.
    connect(&process_, &QProcess::finished, this, &AppIconProvider::finish, Qt::QueuedConnection);
    connect(
        &process_, &QProcess::errorOccurred, this,
        [this](QProcess::ProcessError error) {
            if (error == QProcess::FailedToStart) // finished is not emitted in this case
                finish();
        },
        Qt::QueuedConnection);
}

AppIconProvider::~AppIconProvider() {
    process_.disconnect(this);
    process_.kill();
    process_.waitForFinished();
}

QIcon AppIconProvider::knownIcon(const AppAudioSource& source) const {
    const auto known = found_.find(keyOf(source));
    return known == found_.end() ? QIcon() : known->second;
}

QIcon AppIconProvider::icon(const AppAudioSource& source) {
    if (const QIcon known = knownIcon(source); !known.isNull())
        return known;
    const bool isAsked = std::ranges::find(requests_, keyOf(source), &Request::key) != requests_.end();
    Request request = isAsked ? Request{} : requestFor(source);
    if (!request.names.empty()) {
        requests_.push_back(std::move(request));
        if (requests_.size() == 1)
            startNext();
    }
    return {};
}

std::optional<RunningApplication> AppIconProvider::applicationOf(const AppAudioSource& source) const {
    if (source.pid)
        return applications_.runningApplication(*source.pid);
    return source.bundleID ? applications_.installedApplication(*source.bundleID) : std::nullopt;
}

AppIconProvider::Request AppIconProvider::requestFor(const AppAudioSource& source) const {
    Request request{keyOf(source), {}};
    const auto add = [&request](const std::string& name) {
        if (name.find('\0') == std::string::npos)
            request.names.append(QString::fromStdString(name));
    };
    const auto application = applicationOf(source);
    if (application && application->iconName)
        add(*application->iconName);
    if (source.bundleID && !source.bundleID->starts_with('/'))
        add(*source.bundleID); // by convention the icon has the application's identifier as its name
    return request;
}

void AppIconProvider::startNext() {
    process_.start(QString::fromStdString(program_.string()),
                   QStringList{QIcon::themeName()} + requests_.front().names, QIODevice::ReadOnly);
}

void AppIconProvider::finish() {
    const Request request = std::move(requests_.front());
    requests_.pop_front();
    QIcon icon = applicationIcon(process_.readAllStandardOutput());
    const bool isFound = !icon.isNull();
    if (isFound)
        found_.insert_or_assign(request.key, std::move(icon));
    if (!requests_.empty())
        startNext();
    if (isFound)
        emit found();
    if (requests_.empty())
        emit finished();
}

} // namespace vello
