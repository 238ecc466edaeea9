// What most translation units of this project include, compiled once. It saves time only: every file still
// includes what it uses, and builds without it (-DKOLTA_PRECOMPILE=OFF).
#include <QByteArray>
#include <QCoreApplication>
#include <QHash>
#include <QMap>
#include <QObject>
#include <QPointer>
#include <QSet>
#include <QString>
#include <QStringBuilder>
#include <QStringList>
#include <QTimer>
#include <QUuid>
#include <QVariant>
#include <QVector>
#include <algorithm>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <tuple>
#include <unordered_map>
#include <utility>
#include <vector>
