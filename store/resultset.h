#pragma once

#include "store/result.h"

#include <QByteArray>
#include <QList>

#include <map>
#include <memory>

// The results of a study under keys "analyzer/result", in byte order of the keys.
class ResultSet
{
public:
    ResultSet() = default;
    ResultSet(const ResultSet&) = delete;
    ResultSet& operator=(const ResultSet&) = delete;
    ResultSet(ResultSet&&) = default;
    ResultSet& operator=(ResultSet&&) = default;

    Result* find(const QByteArray& key) const; // null when absent
    void insert(const QByteArray& key, std::unique_ptr<Result> result); // replaces
    void remove(const QByteArray& key);
    QList<QByteArray> keys() const;
    int size() const { return int(m_results.size()); }
    bool isEmpty() const { return m_results.empty(); }
    void clear() { m_results.clear(); }

    // Typed lookup: null when absent or of another kind.
    template <typename T> T* findAs(const QByteArray& key) const
    {
        return dynamic_cast<T*>(find(key));
    }

private:
    std::map<QByteArray, std::unique_ptr<Result>> m_results; // QByteArray orders bytewise
};
