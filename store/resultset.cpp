#include "store/resultset.h"

Result* ResultSet::find(const QByteArray& key) const
{
    const auto it = m_results.find(key);
    return it == m_results.end() ? nullptr : it->second.get();
}

void ResultSet::insert(const QByteArray& key, std::unique_ptr<Result> result)
{
    // A null result would only make every reader check twice; it means "no result".
    if (!result) {
        remove(key);
        return;
    }
    m_results[key] = std::move(result);
}

void ResultSet::remove(const QByteArray& key)
{
    m_results.erase(key);
}

QList<QByteArray> ResultSet::keys() const
{
    QList<QByteArray> out;
    out.reserve(int(m_results.size()));
    for (const auto& entry : m_results)
        out.append(entry.first);
    return out;
}
