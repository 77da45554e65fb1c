<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="es_ES">
<context>
    <name>MainWindow</name>
    <message>
        <source>v %1</source>
        <translation>v %1</translation>
    </message>
    <message>
        <source>Download study</source>
        <translation>Descargar estudio</translation>
    </message>
    <message>
        <source>Open study</source>
        <translation>Abrir estudio</translation>
    </message>
    <message>
        <source>Cancel</source>
        <translation>Cancelar</translation>
    </message>
    <message>
        <source>Downloading studies comes in a later version.</source>
        <translation>La descarga de estudios llegará en una versión posterior.</translation>
    </message>
    <message>
        <source>Opening studies comes in a later version.</source>
        <translation>La apertura de estudios llegará en una versión posterior.</translation>
    </message>
    <message>
        <source>Settings come in a later version.</source>
        <translation>La configuración llegará en una versión posterior.</translation>
    </message>
    <message>
        <source>Please wait...</source>
        <translation>Por favor, espere...</translation>
    </message>
    <message>
        <source>Warning</source>
        <translation>Advertencia</translation>
    </message>
    <message>
        <source>There is not enough free space on disk.
Please free at least 500 MB to download a new study.</source>
        <translation>No hay suficiente espacio libre en el disco.
Libere al menos 500 MB para descargar un nuevo estudio.</translation>
    </message>
</context>
<context>
    <name>main</name>
    <message>
        <source>Holter ECG workstation</source>
        <translation>Estación de trabajo de ECG Holter</translation>
    </message>
    <message>
        <source>Keep the study store in &lt;folder&gt; instead of the user&apos;s data folder.</source>
        <translation>Guardar el almacén de estudios en &lt;carpeta&gt; en lugar de la carpeta de datos del usuario.</translation>
    </message>
    <message>
        <source>folder</source>
        <translation>carpeta</translation>
    </message>
    <message>
        <source>Information</source>
        <translation>Información</translation>
    </message>
    <message>
        <source>%1 is already running</source>
        <translation>%1 ya se está ejecutando</translation>
    </message>
</context>
<context>
    <name>BrowseStripPainter</name>
    <message>
        <source>ms</source>
        <translation>ms</translation>
    </message>
    <message>
        <source>mv</source>
        <translation>mV</translation>
    </message>
    <message>
        <source>mm</source>
        <translation>mm</translation>
    </message>
</context>
<context>
    <name>QSignalCompressedDisplay</name>
    <message>
        <source>%1x</source>
        <translation>%1x</translation>
    </message>
</context>
</TS>
