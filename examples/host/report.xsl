<?xml version="1.0" encoding="UTF-8"?>
<!-- Makes a small page of what the report plug-in has written. -->
<xsl:stylesheet version="1.0" xmlns:xsl="http://www.w3.org/1999/XSL/Transform">
  <xsl:output method="html" encoding="UTF-8" indent="yes"/>

  <xsl:template match="/report">
    <html lang="{@language}">
      <head>
        <title><xsl:value-of select="title"/></title>
        <style>body { font-family: sans-serif } td + td, th + th { text-align: right } td, th { padding: 0 1em }</style>
      </head>
      <body>
        <h1><xsl:value-of select="title"/></h1>
        <p><xsl:value-of select="summary"/></p>
        <table>
          <tr><th><xsl:value-of select="words/@word"/></th><th><xsl:value-of select="words/@times"/></th></tr>
          <xsl:for-each select="words/word">
            <tr><td><xsl:value-of select="."/></td><td><xsl:value-of select="@times"/></td></tr>
          </xsl:for-each>
        </table>
      </body>
    </html>
  </xsl:template>
</xsl:stylesheet>
