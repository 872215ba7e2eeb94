<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="de_DE" sourcelanguage="en">
<context>
    <name>NVCCustomizedStrings</name>
    <message>
        <location filename="../../src/customization/NVCCustomizedStrings.cpp" line="16"/>
        <source>Norvalis™ QUIVEN</source>
        <translation>Norvalis™ QUIVEN</translation>
    </message>
    <message>
        <location filename="../../src/customization/NVCCustomizedStrings.cpp" line="24"/>
        <source>%%APPLICATION_NAME%% wants to make changes.</source>
        <translation>%%APPLICATION_NAME%% möchte Änderungen vornehmen.</translation>
    </message>
</context>
</TS>
