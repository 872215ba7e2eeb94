#pragma once

#include <QString>

// A named activity (e.g. "Importing QUIVEN user policies"): one debug line
// when it starts and one when it ends, so the log shows which user action a
// burst of daemon traffic belongs to. Lives for the scope that does the work.
class NVCActivity
{
public:
    explicit NVCActivity(const QString &label);
    ~NVCActivity();
    NVCActivity(const NVCActivity &) = delete;
    NVCActivity &operator=(const NVCActivity &) = delete;

private:
    QString m_label;
};
