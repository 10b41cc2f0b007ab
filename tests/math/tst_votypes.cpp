#include "votypes.h"

#include <QtTest>

#include <cmath>
#include <cstring>

class TestVoTypes : public QObject
{
    Q_OBJECT

private slots:
    void matrixStorageContract();
    void matrixAssignKeepsSameShapedStorage();
    void matrixCopyIsDeep();
    void destructLeavesBorrowedStorageAlone();
    void vectorStorageAndGeometry();
    void arrayAndString();
    void version();
    void resultNames_data();
    void resultNames();
};

void TestVoTypes::matrixStorageContract()
{
    VoMatrix m;
    const double src[6] = {1, 2, 3, 4, 5, 6};
    QCOMPARE(VoMatrix_construct(&m, 2, 3, 0, src, 3), VO_RESULT_OK);
    QVERIFY(m.data);
    QCOMPARE(m.rows, VoSize(2));
    QCOMPARE(m.cols, VoSize(3));
    QCOMPARE(m.stride, VoSize(3));
    QVERIFY(m.flags & VO_DATA_MANAGED);
    QCOMPARE(m.data[1 * m.stride + 2], 6.0);

    // A wider stride keeps the values in their rows.
    QCOMPARE(VoMatrix_assign(&m, 3, 2, 5, src, 2), VO_RESULT_OK);
    QCOMPARE(m.stride, VoSize(5));
    QCOMPARE(m.data[2 * 5 + 1], 6.0);
    QCOMPARE(m.data[1 * 5 + 0], 3.0);

    QCOMPARE(VoMatrix_assign(&m, 0, 4, 0, nullptr, 0), VO_RESULT_OK);
    QCOMPARE(m.data, static_cast<VoReal*>(nullptr));
    QCOMPARE(m.cols, VoSize(4));
    VoMatrix_destruct(&m);
    QCOMPARE(m.rows, VoSize(0));

    // Sizes whose byte count overflows are refused, not wrapped.
    VoMatrix huge;
    QCOMPARE(VoMatrix_construct(&huge, VoSize(1) << 40, VoSize(1) << 40, 0, nullptr, 0), VO_RESULT_OUT_OF_MEMORY);
    QCOMPARE(huge.data, static_cast<VoReal*>(nullptr));
}

void TestVoTypes::matrixAssignKeepsSameShapedStorage()
{
    double storage[6] = {};
    VoMatrix view = {storage, 2, 3, 3, VO_DATA_FIXED_SIZE};
    const double src[6] = {1, 2, 3, 4, 5, 6};
    QCOMPARE(VoMatrix_assign(&view, 2, 3, 3, src, 3), VO_RESULT_OK);
    QCOMPARE(view.data, storage);
    QCOMPARE(view.flags, VO_DATA_FIXED_SIZE);
    QCOMPARE(storage[5], 6.0);

    // Another shape gets storage of its own, which is then managed.
    QCOMPARE(VoMatrix_assign(&view, 1, 2, 2, src, 2), VO_RESULT_OK);
    QVERIFY(view.data != storage);
    QVERIFY(view.flags & VO_DATA_MANAGED);
    QCOMPARE(storage[5], 6.0);
    VoMatrix_destruct(&view);
}

void TestVoTypes::matrixCopyIsDeep()
{
    double storage[8] = {1, 2, -1, -1, 3, 4, -1, -1};
    VoMatrix view = {storage, 2, 2, 4, VO_DATA_VIEW};
    VoMatrix copy;
    VoMatrix_zero(&copy);
    QCOMPARE(VoMatrix_copy(&copy, &view), VO_RESULT_OK);
    QVERIFY(copy.data != storage);
    QCOMPARE(copy.stride, VoSize(2));
    QCOMPARE(copy.data[3], 4.0);
    storage[0] = 9;
    QCOMPARE(copy.data[0], 1.0);

    VoMatrix other;
    VoMatrix_zero(&other);
    VoMatrix_swap(&copy, &other);
    QCOMPARE(copy.data, static_cast<VoReal*>(nullptr));
    QCOMPARE(other.data[3], 4.0);
    VoMatrix_destruct(&other);
    VoMatrix_destruct(&copy);
}

void TestVoTypes::destructLeavesBorrowedStorageAlone()
{
    // Under AddressSanitizer a free of stack storage would abort the test.
    double storage[4] = {1, 2, 3, 4};
    VoMatrix fixed = {storage, 2, 2, 2, VO_DATA_FIXED_SIZE};
    VoMatrix_destruct(&fixed);
    QCOMPARE(fixed.data, static_cast<VoReal*>(nullptr));
    QCOMPARE(storage[3], 4.0);

    VoVector view = {storage, 4, VO_DATA_VIEW};
    VoVector_destruct(&view);
    QCOMPARE(view.size, VoSize(0));
    QCOMPARE(storage[0], 1.0);
}

void TestVoTypes::vectorStorageAndGeometry()
{
    VoVector v;
    const double src[3] = {3, 0, 4};
    QCOMPARE(VoVector_construct(&v, 3, src), VO_RESULT_OK);
    QVERIFY(v.flags & VO_DATA_MANAGED);
    QCOMPARE(VoVector_cartesianLength(&v), 5.0);

    VoVector w;
    VoVector_zero(&w);
    QCOMPARE(VoVector_copy(&w, &v), VO_RESULT_OK);
    QVERIFY(w.data != v.data);
    QCOMPARE(VoVector_dotProduct(&v, &w), 25.0);

    QCOMPARE(VoVector_normalize(&w), 5.0);
    QCOMPARE(w.data[0], 0.6);
    QCOMPARE(w.data[2], 0.8);

    double zeros[2] = {0, 0};
    VoVector z = {zeros, 2, VO_DATA_VIEW};
    QCOMPARE(VoVector_normalize(&z), 0.0);
    QCOMPARE(zeros[0], 0.0);

    const double longer[5] = {1, 1, 1, 1, 1};
    QCOMPARE(VoVector_assign(&v, 5, longer), VO_RESULT_OK);
    QCOMPARE(v.size, VoSize(5));
    QCOMPARE(v.data[4], 1.0);
    VoVector_destruct(&v);
    VoVector_destruct(&w);
}

void TestVoTypes::arrayAndString()
{
    VoArray a;
    const int values[3] = {7, 8, 9};
    QCOMPARE(VoArray_construct(&a, 3, sizeof(int), values), VO_RESULT_OK);
    QCOMPARE(static_cast<int*>(a.data)[2], 9);
    VoArray b;
    VoArray_zero(&b);
    QCOMPARE(VoArray_copy(&b, &a), VO_RESULT_OK);
    QVERIFY(b.data != a.data);
    QCOMPARE(static_cast<int*>(b.data)[1], 8);
    VoArray_destruct(&a);
    VoArray_destruct(&b);

    VoString s;
    QCOMPARE(VoString_construct(&s, "hello"), VO_RESULT_OK);
    QCOMPARE(s.length, VoSize(5));
    QVERIFY(s.flags & VO_DATA_MANAGED);
    VoString t;
    VoString_zero(&t);
    QCOMPARE(VoString_copy(&t, &s), VO_RESULT_OK);
    QCOMPARE(QByteArray(t.data), QByteArray("hello"));
    QCOMPARE(VoString_assign(&s, nullptr), VO_RESULT_OK);
    QCOMPARE(QByteArray(s.data), QByteArray());
    VoString_swap(&s, &t);
    QCOMPARE(QByteArray(s.data), QByteArray("hello"));
    VoString_destruct(&s);
    VoString_destruct(&t);
}

void TestVoTypes::version()
{
    VoVersion v;
    QCOMPARE(VoVersion_construct(&v, 2, 6, 4, 5678, 108182, "built on 2021-02-04"), VO_RESULT_OK);
    VoVersion copy;
    VoVersion_zero(&copy);
    QCOMPARE(VoVersion_copy(&copy, &v), VO_RESULT_OK);
    VoVersion_destruct(&v);
    QCOMPARE(copy.major, 2u);
    QCOMPARE(copy.minor, 6u);
    QCOMPARE(copy.revision, 4u);
    QCOMPARE(copy.build, 5678u);
    QCOMPARE(copy.repositoryRevision, 108182u);
    QCOMPARE(QByteArray(copy.text.data), QByteArray("built on 2021-02-04"));
    VoVersion_destruct(&copy);
}

void TestVoTypes::resultNames_data()
{
    QTest::addColumn<int>("value");
    QTest::addColumn<QByteArray>("name");
    QTest::newRow("ok") << int(VO_RESULT_OK) << QByteArray("OK");
    QTest::newRow("einval") << int(VO_RESULT_INVALID_ARGUMENT) << QByteArray("invalid argument");
    QTest::newRow("erange") << int(VO_RESULT_OUT_OF_RANGE) << QByteArray("out of range");
    QTest::newRow("exception") << int(VO_RESULT_EXCEPTION) << QByteArray("exception");
    QTest::newRow("unknown") << 4711 << QByteArray("unknown result");
}

void TestVoTypes::resultNames()
{
    QFETCH(int, value);
    QFETCH(QByteArray, name);
    QCOMPARE(QByteArray(VoResultValue_toString(value)), name);
}

QTEST_APPLESS_MAIN(TestVoTypes)
#include "tst_votypes.moc"
