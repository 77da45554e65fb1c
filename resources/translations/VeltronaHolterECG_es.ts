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
    <name>ConfigDialog</name>
    <message>
        <source>Configuration</source>
        <translation>Configuración</translation>
    </message>
    <message>
        <source>Report</source>
        <translation>Informe</translation>
    </message>
    <message>
        <source>Analysis</source>
        <translation>Análisis</translation>
    </message>
    <message>
        <source>Classification</source>
        <translation>Clasificación</translation>
    </message>
    <message>
        <source>Export reports</source>
        <translation>Exportar informes</translation>
    </message>
    <message>
        <source>Export studies</source>
        <translation>Exportar estudios</translation>
    </message>
    <message>
        <source>Report header</source>
        <translation>Encabezado del informe</translation>
    </message>
    <message>
        <source>Logo</source>
        <translation>Logotipo</translation>
    </message>
    <message>
        <source>[none]</source>
        <translation>[ninguno]</translation>
    </message>
    <message>
        <source>Change...</source>
        <translation>Cambiar...</translation>
    </message>
    <message>
        <source>Remove</source>
        <translation>Quitar</translation>
    </message>
    <message>
        <source>Title</source>
        <translation>Título</translation>
    </message>
    <message>
        <source>Additional info</source>
        <translation>Información adicional</translation>
    </message>
    <message>
        <source>Rhythm events</source>
        <translation>Eventos de ritmo</translation>
    </message>
    <message>
        <source>Pause</source>
        <translation>Pausa</translation>
    </message>
    <message>
        <source>secs.</source>
        <translation>seg.</translation>
    </message>
    <message>
        <source>Tachycardia min.</source>
        <translation>Taquicardia mín.</translation>
    </message>
    <message>
        <source>bpm</source>
        <translation>lpm</translation>
    </message>
    <message>
        <source>Bradycardia max.</source>
        <translation>Bradicardia máx.</translation>
    </message>
    <message>
        <source>Duration min.</source>
        <translation>Duración mín.</translation>
    </message>
    <message>
        <source>QT interval</source>
        <translation>Intervalo QT</translation>
    </message>
    <message>
        <source>Correction</source>
        <translation>Corrección</translation>
    </message>
    <message>
        <source>Restore defaults</source>
        <translation>Restaurar valores predeterminados</translation>
    </message>
    <message>
        <source>Allowed beat types</source>
        <translation>Tipos de latido permitidos</translation>
    </message>
    <message>
        <source>Normal</source>
        <translation>Normal</translation>
    </message>
    <message>
        <source>Normal beats are always allowed.</source>
        <translation>Los latidos normales siempre están permitidos.</translation>
    </message>
    <message>
        <source>Ventricular</source>
        <translation>Ventricular</translation>
    </message>
    <message>
        <source>Fusion</source>
        <translation>Fusión</translation>
    </message>
    <message>
        <source>Supraventricular</source>
        <translation>Supraventricular</translation>
    </message>
    <message>
        <source>Undefined</source>
        <translation>Indefinido</translation>
    </message>
    <message>
        <source>Supraventricular labeling rules</source>
        <translation>Reglas de clasificación supraventricular</translation>
    </message>
    <message>
        <source>Automatic</source>
        <translation>Automático</translation>
    </message>
    <message>
        <source>User defined</source>
        <translation>Definido por el usuario</translation>
    </message>
    <message>
        <source>Prematurity %</source>
        <translation>Prematuridad %</translation>
    </message>
    <message>
        <source>Followed by compensatory</source>
        <translation>Seguido de pausa compensatoria</translation>
    </message>
    <message>
        <source>Auto-export report files</source>
        <translation>Exportar automáticamente los informes</translation>
    </message>
    <message>
        <source>Holter reports folder</source>
        <translation>Carpeta de informes Holter</translation>
    </message>
    <message>
        <source>...</source>
        <translation>...</translation>
    </message>
    <message>
        <source>Reports are exported when saved as PDF files.</source>
        <translation>Los informes se exportan al guardarse como archivos PDF.</translation>
    </message>
    <message>
        <source>Auto-export new studies</source>
        <translation>Exportar automáticamente los estudios nuevos</translation>
    </message>
    <message>
        <source>Holter studies folder</source>
        <translation>Carpeta de estudios Holter</translation>
    </message>
    <message>
        <source>Studies are exported after download.</source>
        <translation>Los estudios se exportan después de la descarga.</translation>
    </message>
    <message>
        <source>Bazett</source>
        <translation>Bazett</translation>
    </message>
    <message>
        <source>Fredericia</source>
        <translation>Fredericia</translation>
    </message>
    <message>
        <source>Hodges</source>
        <translation>Hodges</translation>
    </message>
    <message>
        <source>Framingham</source>
        <translation>Framingham</translation>
    </message>
    <message>
        <source>Warning</source>
        <translation>Advertencia</translation>
    </message>
    <message>
        <source>Logo image could not be loaded from file: %1</source>
        <translation>No se pudo cargar la imagen del logotipo desde el archivo: %1</translation>
    </message>
    <message>
        <source>Open Image</source>
        <translation>Abrir imagen</translation>
    </message>
    <message>
        <source>Image Files (*.png *.jpg *.bmp)</source>
        <translation>Archivos de imagen (*.png *.jpg *.bmp)</translation>
    </message>
    <message>
        <source>Select shared folder</source>
        <translation>Seleccionar carpeta compartida</translation>
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
    <name>StudyDialog</name>
    <message>
        <source>Study data</source>
        <translation>Datos del estudio</translation>
    </message>
    <message>
        <source>Patient</source>
        <translation>Paciente</translation>
    </message>
    <message>
        <source>Risk factors</source>
        <translation>Factores de riesgo</translation>
    </message>
    <message>
        <source>Study info</source>
        <translation>Datos del estudio</translation>
    </message>
    <message>
        <source>Last name(s)</source>
        <translation>Apellido(s)</translation>
    </message>
    <message>
        <source>First name(s)</source>
        <translation>Nombre(s)</translation>
    </message>
    <message>
        <source>Birth date</source>
        <translation>Fecha de nacimiento</translation>
    </message>
    <message>
        <source>day/month/year</source>
        <translation>día/mes/año</translation>
    </message>
    <message>
        <source>Age</source>
        <translation>Edad</translation>
    </message>
    <message>
        <source>Sex</source>
        <translation>Sexo</translation>
    </message>
    <message>
        <source>Male</source>
        <translation>Masculino</translation>
    </message>
    <message>
        <source>Female</source>
        <translation>Femenino</translation>
    </message>
    <message>
        <source>Weight (Kg)</source>
        <translation>Peso (Kg)</translation>
    </message>
    <message>
        <source>Height (cm)</source>
        <translation>Altura (cm)</translation>
    </message>
    <message>
        <source>BMI</source>
        <translation>IMC</translation>
    </message>
    <message>
        <source>ID type</source>
        <translation>Tipo de documento</translation>
    </message>
    <message>
        <source>ID number</source>
        <translation>Número de documento</translation>
    </message>
    <message>
        <source>Medical insurance</source>
        <translation>Obra social</translation>
    </message>
    <message>
        <source>Medical insurance number</source>
        <translation>Número de afiliado</translation>
    </message>
    <message>
        <source>Patient ID / Medical record</source>
        <translation>ID de paciente / Historia clínica</translation>
    </message>
    <message>
        <source>Phone number</source>
        <translation>Teléfono</translation>
    </message>
    <message>
        <source>Address</source>
        <translation>Domicilio</translation>
    </message>
    <message>
        <source>City</source>
        <translation>Ciudad</translation>
    </message>
    <message>
        <source>State</source>
        <translation>Provincia</translation>
    </message>
    <message>
        <source>Factor</source>
        <translation>Factor</translation>
    </message>
    <message>
        <source>Comments...</source>
        <translation>Comentarios...</translation>
    </message>
    <message>
        <source>Date/time</source>
        <translation>Fecha/hora</translation>
    </message>
    <message>
        <source>Doctor name</source>
        <translation>Médico</translation>
    </message>
    <message>
        <source>Referred by</source>
        <translation>Derivado por</translation>
    </message>
    <message>
        <source>Technician name</source>
        <translation>Técnico</translation>
    </message>
    <message>
        <source>Indication</source>
        <translation>Indicación</translation>
    </message>
    <message>
        <source>Medication</source>
        <translation>Medicación</translation>
    </message>
    <message>
        <source>Comments</source>
        <translation>Comentarios</translation>
    </message>
    <message>
        <source>New Holter study</source>
        <translation>Nuevo estudio Holter</translation>
    </message>
    <message>
        <source>The birth date &quot;%1&quot; is not a valid date. Please type it as day/month/year.</source>
        <translation>La fecha de nacimiento &quot;%1&quot; no es una fecha válida. Escríbala como día/mes/año.</translation>
    </message>
    <message>
        <source>The birth date %1 is after the date of the study.</source>
        <translation>La fecha de nacimiento %1 es posterior a la fecha del estudio.</translation>
    </message>
    <message>
        <source>The weight</source>
        <translation>El peso</translation>
    </message>
    <message>
        <source>The height</source>
        <translation>La altura</translation>
    </message>
    <message>
        <source>%1 &quot;%2&quot; is not a valid number.</source>
        <translation>%1 &quot;%2&quot; no es un número válido.</translation>
    </message>
    <message>
        <source>The age &quot;%1&quot; is not a valid number of years.</source>
        <translation>La edad &quot;%1&quot; no es un número de años válido.</translation>
    </message>
    <message>
        <source>Warning</source>
        <translation>Advertencia</translation>
    </message>
    <message>
        <source>Information</source>
        <translation>Información</translation>
    </message>
    <message>
        <source>Please reopen the study to apply new recording date/time.</source>
        <translation>Vuelva a abrir el estudio para aplicar la nueva fecha/hora de grabación.</translation>
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
