#include "imageplayhelper.h"

ImagePlayHelper& ImagePlayHelper::getInstance()
{
    static ImagePlayHelper instance;
    return instance;
}

bool ImagePlayHelper::getFirstPlayFlag(const QString& taskId) const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    const auto it = m_tasks.constFind(taskId);
    return it == m_tasks.constEnd() || it->firstPlay;
}

void ImagePlayHelper::setFirstPlayFlag(const QString& taskId, bool firstPlay)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    m_tasks[taskId].firstPlay = firstPlay;
}

void ImagePlayHelper::appendImageName(const QString& taskId, const QString& imageName)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    m_tasks[taskId].names.append(imageName);
}

QStringList ImagePlayHelper::getImageName(const QString& taskId) const
{
    std::lock_guard<std::mutex> lock(m_mutex);
    return m_tasks.value(taskId).names;
}

void ImagePlayHelper::clearTaskImageCache(const QString& taskId)
{
    std::lock_guard<std::mutex> lock(m_mutex);
    // Dropping the entry gives both an empty list and a flag that reads true.
    m_tasks.remove(taskId);
}
