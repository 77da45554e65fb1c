<?xml version="1.0" encoding="utf-8"?>
<!DOCTYPE TS>
<TS version="2.1" language="es_ES">
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
    <name>CardSignalFile</name>
    <message>
        <source>Cannot open file in memory card %1</source>
        <translation>No se puede abrir el archivo de la tarjeta de memoria %1</translation>
    </message>
    <message>
        <source>File in memory card %1 may be corrupted.
Please contact technical support.</source>
        <translation>El archivo de la tarjeta de memoria %1 puede estar dañado.
Póngase en contacto con el servicio técnico.</translation>
    </message>
    <message>
        <source>Invalid data offset for file %1</source>
        <translation>Desplazamiento de datos no válido en el archivo %1</translation>
    </message>
    <message>
        <source>Cannot open file %1</source>
        <translation>No se puede abrir el archivo %1</translation>
    </message>
    <message>
        <source>unsupported (file %1 is read only)</source>
        <translation>no admitido (el archivo %1 es de solo lectura)</translation>
    </message>
</context>
<context>
    <name>Decoder</name>
    <message>
        <source>Annotation file %1 is not valid: %2 (at byte %3).</source>
        <translation>El archivo de anotaciones %1 no es válido: %2 (en el byte %3).</translation>
    </message>
</context>
<context>
    <name>EventCatalog</name>
    <message>
        <source>Tachycardia</source>
        <translation>Taquicardia</translation>
    </message>
    <message>
        <source>Bradycardia</source>
        <translation>Bradicardia</translation>
    </message>
    <message>
        <source>Pause</source>
        <translation>Pausa</translation>
    </message>
    <message>
        <source>Bigeminy</source>
        <translation>Bigeminismo</translation>
    </message>
    <message>
        <source>Trigeminy</source>
        <translation>Trigeminismo</translation>
    </message>
    <message>
        <source>PVC couplet</source>
        <translation>Duplete de EV</translation>
    </message>
    <message>
        <source>PVC triplet</source>
        <translation>Triplete de EV</translation>
    </message>
    <message>
        <source>PVC tachy</source>
        <translation>Taquicardia ventricular</translation>
    </message>
    <message>
        <source>SVPB couplet</source>
        <translation>Duplete de ESV</translation>
    </message>
    <message>
        <source>SVPB triplet</source>
        <translation>Triplete de ESV</translation>
    </message>
    <message>
        <source>SVPB tachy</source>
        <translation>Taquicardia supraventricular</translation>
    </message>
    <message>
        <source>Atrial fibrillation</source>
        <translation>Fibrilación auricular</translation>
    </message>
    <message>
        <source>%1 secs.</source>
        <translation>%1 seg.</translation>
    </message>
    <message>
        <source>%1 beats, %2 secs.</source>
        <translation>%1 latidos, %2 seg.</translation>
    </message>
</context>
<context>
    <name>ImportPatient</name>
    <message>
        <source>the last name</source>
        <translation>el apellido</translation>
    </message>
    <message>
        <source>the first name</source>
        <translation>el nombre</translation>
    </message>
    <message>
        <source>a valid date after the year 2000</source>
        <translation>una fecha válida posterior al año 2000</translation>
    </message>
    <message>
        <source>The study needs %1.</source>
        <translation>El estudio necesita %1.</translation>
    </message>
    <message>
        <source>, </source>
        <translation>, </translation>
    </message>
</context>
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
    <message>
        <source>Study %1 does not exist</source>
        <translation>El estudio %1 no existe</translation>
    </message>
    <message>
        <source>Study file was succesfully exported to folder: %1</source>
        <translation>El estudio se exportó correctamente a la carpeta: %1</translation>
    </message>
    <message>
        <source>Study file could not be exported to folder: %1
Please check shared folder access with your network administrator.</source>
        <translation>No se pudo exportar el estudio a la carpeta: %1
Compruebe el acceso a la carpeta compartida con su administrador de red.</translation>
    </message>
</context>
<context>
    <name>OpenStudyDialog</name>
    <message>
        <source>Select study</source>
        <translation>Seleccionar estudio</translation>
    </message>
    <message>
        <source>Delete</source>
        <translation>Eliminar</translation>
    </message>
    <message>
        <source>Find by name</source>
        <translation>Buscar por nombre</translation>
    </message>
    <message>
        <source>Part of the last or first name</source>
        <translation>Parte del apellido o del nombre</translation>
    </message>
    <message>
        <source>Patient</source>
        <translation>Paciente</translation>
    </message>
    <message>
        <source>Study type</source>
        <translation>Tipo de estudio</translation>
    </message>
    <message>
        <source>Date</source>
        <translation>Fecha</translation>
    </message>
    <message>
        <source>Report</source>
        <translation>Informe</translation>
    </message>
    <message>
        <source>Show report</source>
        <translation>Ver informe</translation>
    </message>
    <message>
        <source>Send to Veltrona</source>
        <translation>Enviar a Veltrona</translation>
    </message>
    <message>
        <source>Show shared studies</source>
        <translation>Mostrar estudios compartidos</translation>
    </message>
    <message>
        <source>Copy the selected local studies to the shared folder</source>
        <translation>Copiar los estudios locales seleccionados a la carpeta compartida</translation>
    </message>
    <message>
        <source>Export &gt;&gt;</source>
        <translation>Exportar &gt;&gt;</translation>
    </message>
    <message>
        <source>Copy the selected shared studies into this workstation</source>
        <translation>Copiar los estudios compartidos seleccionados a esta estación</translation>
    </message>
    <message>
        <source>&lt;&lt; Import</source>
        <translation>&lt;&lt; Importar</translation>
    </message>
    <message>
        <source>Shared folder:</source>
        <translation>Carpeta compartida:</translation>
    </message>
    <message>
        <source>Choose a shared folder</source>
        <translation>Elegir una carpeta compartida</translation>
    </message>
    <message>
        <source>No uploader program is configured on this workstation.</source>
        <translation>No hay ningún programa de envío configurado en esta estación.</translation>
    </message>
    <message>
        <source>Yes</source>
        <translation>Sí</translation>
    </message>
    <message>
        <source>Error</source>
        <translation>Error</translation>
    </message>
    <message>
        <source>Choose a shared folder with the folder button.</source>
        <translation>Elija una carpeta compartida con el botón de carpeta.</translation>
    </message>
    <message>
        <source>The shared folder %1 cannot be reached.</source>
        <translation>No se puede acceder a la carpeta compartida %1.</translation>
    </message>
    <message>
        <source>There are no studies in this folder.</source>
        <translation>No hay estudios en esta carpeta.</translation>
    </message>
    <message>
        <source>Report file not found</source>
        <translation>No se encontró el archivo del informe</translation>
    </message>
    <message>
        <source>The report %1 could not be opened: no PDF viewer is set up on this workstation.</source>
        <translation>No se pudo abrir el informe %1: no hay ningún visor de PDF configurado en esta estación.</translation>
    </message>
    <message>
        <source>Delete selected studies from shared folder?</source>
        <translation>¿Eliminar los estudios seleccionados de la carpeta compartida?</translation>
    </message>
    <message>
        <source>Delete selected studies from local folder?</source>
        <translation>¿Eliminar los estudios seleccionados de la carpeta local?</translation>
    </message>
    <message>
        <source>Confirm</source>
        <translation>Confirmar</translation>
    </message>
    <message>
        <source>Information</source>
        <translation>Información</translation>
    </message>
    <message>
        <source>These studies are open for review and were not deleted:
%1</source>
        <translation>Estos estudios están abiertos para revisión y no se eliminaron:
%1</translation>
    </message>
    <message>
        <source>Warning</source>
        <translation>Advertencia</translation>
    </message>
    <message>
        <source>These files could not be deleted from the shared folder %1:
%2</source>
        <translation>Estos archivos no se pudieron eliminar de la carpeta compartida %1:
%2</translation>
    </message>
    <message>
        <source>Hide shared studies</source>
        <translation>Ocultar estudios compartidos</translation>
    </message>
    <message>
        <source>Select shared folder</source>
        <translation>Seleccionar carpeta compartida</translation>
    </message>
    <message>
        <source>Choose a shared folder first.</source>
        <translation>Elija primero una carpeta compartida.</translation>
    </message>
    <message>
        <source>The shared folder %1 cannot be reached.
Please check shared folder access with your network administrator.</source>
        <translation>No se puede acceder a la carpeta compartida %1.
Compruebe el acceso a la carpeta compartida con su administrador de red.</translation>
    </message>
    <message>
        <source>The shared folder %1 is read-only.
Please check shared folder access with your network administrator.</source>
        <translation>La carpeta compartida %1 es de solo lectura.
Compruebe el acceso a la carpeta compartida con su administrador de red.</translation>
    </message>
    <message>
        <source>Please wait...</source>
        <translation>Por favor, espere...</translation>
    </message>
    <message>
        <source>Cancel</source>
        <translation>Cancelar</translation>
    </message>
    <message>
        <source>Please wait... (%1 of %2)</source>
        <translation>Por favor, espere... (%1 de %2)</translation>
    </message>
    <message>
        <source>Study %1 is no longer in the local store</source>
        <translation>El estudio %1 ya no está en el almacén local</translation>
    </message>
    <message>
        <source>Error while exporting: %1

Please check available disk space.</source>
        <translation>Error al exportar: %1

Compruebe el espacio disponible en disco.</translation>
    </message>
    <message>
        <source>Export cancelled: %1 of %2 studies were exported.</source>
        <translation>Exportación cancelada: se exportaron %1 de %2 estudios.</translation>
    </message>
    <message>
        <source>Error while importing: %1

Please check available disk space.</source>
        <translation>Error al importar: %1

Compruebe el espacio disponible en disco.</translation>
    </message>
    <message>
        <source>Import cancelled: %1 of %2 studies were imported.</source>
        <translation>Importación cancelada: se importaron %1 de %2 estudios.</translation>
    </message>
    <message>
        <source>No uploader program is configured on this workstation, so nothing was sent.
The setting %1 names the program that sends studies to Veltrona.</source>
        <translation>No hay ningún programa de envío configurado en esta estación, así que no se envió nada.
El ajuste %1 indica el programa que envía los estudios a Veltrona.</translation>
    </message>
    <message>
        <source>Send selected studies to Veltrona?</source>
        <translation>¿Enviar los estudios seleccionados a Veltrona?</translation>
    </message>
    <message>
        <source>Veltrona Uploader is running, please close it first.</source>
        <translation>Veltrona Uploader está en ejecución; ciérrelo primero.</translation>
    </message>
    <message>
        <source>Cannot create the folder %1</source>
        <translation>No se puede crear la carpeta %1</translation>
    </message>
    <message>
        <source>The uploader %1 could not be started.</source>
        <translation>No se pudo iniciar el programa de envío %1.</translation>
    </message>
    <message>
        <source>Holter</source>
        <translation>Holter</translation>
    </message>
</context>
<context>
    <name>QSignalCompressedDisplay</name>
    <message>
        <source>%1x</source>
        <translation>%1x</translation>
    </message>
</context>
<context>
    <name>ReportDialog</name>
    <message>
        <source>Report file could not be exported to folder: %1
Please check shared folder access with your network administrator.</source>
        <translation>No se pudo exportar el informe a la carpeta: %1
Compruebe el acceso a la carpeta compartida con su administrador de red.</translation>
    </message>
</context>
<context>
    <name>StudyProcessor</name>
    <message>
        <source>Processing %1 of %2: Beat detection</source>
        <translation>Procesando %1 de %2: Detección de latidos</translation>
    </message>
    <message>
        <source>Processing %1 of %2: Noise checking</source>
        <translation>Procesando %1 de %2: Comprobación de ruido</translation>
    </message>
    <message>
        <source>Processing %1 of %2: Beat classification</source>
        <translation>Procesando %1 de %2: Clasificación de latidos</translation>
    </message>
    <message>
        <source>Processing %1 of %2: Type assignment</source>
        <translation>Procesando %1 de %2: Asignación de tipos</translation>
    </message>
    <message>
        <source>Processing %1 of %2: Additional noise removal</source>
        <translation>Procesando %1 de %2: Eliminación adicional de ruido</translation>
    </message>
    <message>
        <source>Processing failed</source>
        <translation>Error en el procesamiento</translation>
    </message>
</context>
<context>
    <name>TReportEngine</name>
    <message>
        <source>Cannot read report template %1: %2</source>
        <translation>No se puede leer la plantilla de informe %1: %2</translation>
    </message>
    <message>
        <source>Bad report template: %1</source>
        <translation>Plantilla de informe incorrecta: %1</translation>
    </message>
</context>
<context>
    <name>WfdbAnnotation</name>
    <message>
        <source>a SKIP interval is cut off</source>
        <translation>un intervalo SKIP está cortado</translation>
    </message>
    <message>
        <source>SUB without an annotation</source>
        <translation>SUB sin anotación</translation>
    </message>
    <message>
        <source>AUX without an annotation</source>
        <translation>AUX sin anotación</translation>
    </message>
    <message>
        <source>AUX text runs past the end</source>
        <translation>el texto AUX sobrepasa el final</translation>
    </message>
    <message>
        <source>an annotation lies before the start of the record</source>
        <translation>una anotación está antes del inicio del registro</translation>
    </message>
    <message>
        <source>time goes backwards</source>
        <translation>el tiempo retrocede</translation>
    </message>
    <message>
        <source>it ends without an end mark</source>
        <translation>termina sin marca de fin</translation>
    </message>
    <message>
        <source>it has an odd length</source>
        <translation>tiene una longitud impar</translation>
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
</TS>
